#include "output/PdfArchive.h"

#include <QtEndian>

#include <cmath>

namespace tarlox {

namespace {

// Big-endian writing of the fields of an ICC profile.
class IccBuffer {
public:
    void u8(quint8 value) { bytes_.append(char(value)); }
    void u16(quint16 value)
    {
        const quint16 big = qToBigEndian(value);
        bytes_.append(reinterpret_cast<const char*>(&big), 2);
    }
    void u32(quint32 value)
    {
        const quint32 big = qToBigEndian(value);
        bytes_.append(reinterpret_cast<const char*>(&big), 4);
    }
    void signature(const char (&text)[5]) { bytes_.append(text, 4); }
    void fixed(double value) { u32(quint32(qint32(std::lround(value * 65536.0)))); }
    void zeros(int count) { bytes_.append(count, '\0'); }
    void align() { zeros(int((4 - bytes_.size() % 4) % 4)); }
    void patch32(qsizetype at, quint32 value) { qToBigEndian(value, bytes_.data() + at); }
    void patchSignature(qsizetype at, const char* text) { bytes_.replace(at, 4, text, 4); }
    qsizetype size() const { return bytes_.size(); }
    const QByteArray& bytes() const { return bytes_; }

private:
    QByteArray bytes_;
};

struct IccTag {
    const char* signature;
    qsizetype offset;
    qsizetype size;
};

double SrgbToLinear(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

QString EscapeXml(const QString& text)
{
    return text.toHtmlEscaped();
}

QString OffsetText(const QDateTime& when, const QString& separator, const QString& end)
{
    const int offset = when.offsetFromUtc();
    if (offset == 0)
        return QStringLiteral("Z");
    const int minutes = std::abs(offset) / 60;
    return QString(offset < 0 ? QLatin1Char('-') : QLatin1Char('+')) % QStringLiteral("%1").arg(minutes / 60, 2, 10, QLatin1Char('0'))
           % separator % QStringLiteral("%1").arg(minutes % 60, 2, 10, QLatin1Char('0')) % end;
}

}  // namespace

QByteArray SrgbIccProfile()
{
    IccBuffer icc;
    // Header: size (patched at the end), version 2.1, a display profile of
    // RGB into XYZ, a fixed date, so the same profile comes out every time.
    icc.u32(0);
    icc.u32(0);
    icc.u32(0x02100000);
    icc.signature("mntr");
    icc.signature("RGB ");
    icc.signature("XYZ ");
    for (quint16 field : {2024, 1, 1, 0, 0, 0})
        icc.u16(field);
    icc.signature("acsp");
    icc.zeros(4 + 4 + 4 + 4 + 8 + 4);  // platform, flags, maker, model, attributes, intent
    icc.fixed(0.9642);                 // the PCS illuminant, D50
    icc.fixed(1.0);
    icc.fixed(0.8249);
    icc.zeros(4 + 44);  // creator, reserved

    const char* const signatures[] = {"desc", "cprt", "wtpt", "rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"};
    constexpr int kTags = 9;
    icc.u32(kTags);
    const qsizetype table = icc.size();
    icc.zeros(kTags * 12);

    IccTag tags[kTags];
    int count = 0;
    auto begin = [&](const char* signature) { tags[count] = IccTag{signature, icc.size(), 0}; };
    auto end = [&] {
        tags[count].size = icc.size() - tags[count].offset;
        ++count;
        icc.align();
    };

    const QByteArray name = QByteArrayLiteral("sRGB IEC61966-2.1");
    begin(signatures[0]);
    icc.signature("desc");
    icc.zeros(4);
    icc.u32(quint32(name.size() + 1));
    for (char c : name)
        icc.u8(quint8(c));
    icc.u8(0);
    icc.zeros(4 + 4 + 2 + 1 + 67);  // no Unicode or ScriptCode description
    end();

    begin(signatures[1]);
    icc.signature("text");
    icc.zeros(4);
    for (char c : QByteArrayLiteral("No copyright, use freely"))
        icc.u8(quint8(c));
    icc.u8(0);
    end();

    const double xyz[4][3] = {
        {0.9505, 1.0, 1.0891},             // media white, D65
        {0.4360747, 0.2225045, 0.0139322},  // red, green, blue, adapted to D50
        {0.3850649, 0.7168786, 0.0971045},
        {0.1430804, 0.0606169, 0.7141733},
    };
    for (int i = 0; i < 4; ++i) {
        begin(signatures[2 + i]);
        icc.signature("XYZ ");
        icc.zeros(4);
        for (double value : xyz[i])
            icc.fixed(value);
        end();
    }

    // The three tone curves share one table.
    constexpr int kSteps = 256;
    begin(signatures[6]);
    icc.signature("curv");
    icc.zeros(4);
    icc.u32(kSteps);
    for (int i = 0; i < kSteps; ++i)
        icc.u16(quint16(std::lround(SrgbToLinear(double(i) / (kSteps - 1)) * 65535.0)));
    end();
    tags[count++] = IccTag{signatures[7], tags[6].offset, tags[6].size};
    tags[count++] = IccTag{signatures[8], tags[6].offset, tags[6].size};

    for (int i = 0; i < kTags; ++i) {
        const qsizetype entry = table + i * 12;
        icc.patchSignature(entry, tags[i].signature);
        icc.patch32(entry + 4, quint32(tags[i].offset));
        icc.patch32(entry + 8, quint32(tags[i].size));
    }
    icc.patch32(0, quint32(icc.size()));
    return icc.bytes();
}

QByteArray PdfDate(const QDateTime& when)
{
    const QString text = when.toString(QStringLiteral("'D:'yyyyMMddHHmmss")) % OffsetText(when, QStringLiteral("'"), QStringLiteral("'"));
    return text.toLatin1();
}

QString XmpDate(const QDateTime& when)
{
    return when.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) % OffsetText(when, QStringLiteral(":"), QString());
}

QByteArray XmpPacket(const QString& title, const QString& producer, const QDateTime& created)
{
    const QString date = XmpDate(created);
    QString titleBlock;
    if (!title.isEmpty()) {
        titleBlock = QStringLiteral("   <dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">%1</rdf:li></rdf:Alt></dc:title>\n")
                         .arg(EscapeXml(title));
    }
    const QString packet = QStringLiteral(
                               "<?xpacket begin=\"\uFEFF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                               "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                               " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                               "  <rdf:Description rdf:about=\"\" xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\">\n"
                               "   <pdfaid:part>1</pdfaid:part>\n"
                               "   <pdfaid:conformance>B</pdfaid:conformance>\n"
                               "  </rdf:Description>\n"
                               "  <rdf:Description rdf:about=\"\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\">\n"
                               "   <xmp:CreateDate>%1</xmp:CreateDate>\n"
                               "   <xmp:ModifyDate>%1</xmp:ModifyDate>\n"
                               "  </rdf:Description>\n"
                               "  <rdf:Description rdf:about=\"\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\">\n"
                               "   <pdf:Producer>%2</pdf:Producer>\n"
                               "  </rdf:Description>\n"
                               "  <rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
                               "   <dc:format>application/pdf</dc:format>\n"
                               "%3"
                               "  </rdf:Description>\n"
                               " </rdf:RDF>\n"
                               "</x:xmpmeta>\n"
                               "<?xpacket end=\"w\"?>")
                               .arg(date, EscapeXml(producer), titleBlock);
    return packet.toUtf8();
}

}  // namespace tarlox
