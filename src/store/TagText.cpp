#include "store/TagText.h"

#include <QStringDecoder>

namespace tarlox {

namespace {

// 0x80 to 0x9F of Windows-1252.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

}  // namespace

QByteArray EncodeTagText(const QString& text)
{
    return text.toUtf8();
}

QString DecodeWindows1252(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && byte <= 0x9F)
            text += QChar(kHighControls[byte - 0x80]);
        else
            text += QChar(char16_t(byte));
    }
    return text;
}

QString DecodeTagText(const QByteArray& bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (!utf8.hasError())
        return text;
    return DecodeWindows1252(bytes);
}

}  // namespace tarlox
