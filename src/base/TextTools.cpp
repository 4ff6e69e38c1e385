#include "base/TextTools.h"

#include <QRegularExpression>
#include <QVariant>

namespace tarlox {

namespace {
const QString BuiltInKey = QStringLiteral("w857-!%^);qwmzoptfeh;xvnur3426;bcyhsgdkoial;");

QString keyFor(const QString& text, const QString& key)
{
    QString k = key.isEmpty() ? BuiltInKey : key;
    while (2 * text.size() > k.size())
        k += k;
    return k;
}
}  // namespace

QString GetTag(const QString& tag, const QString& key)
{
    const QString text = tag.trimmed() + QLatin1Char(',');
    const QString search = key.trimmed() + QLatin1Char('=');
    const qsizetype at = text.indexOf(search);
    if (at < 0)
        return {};
    const qsizetype from = at + search.size();
    return text.mid(from, text.indexOf(QLatin1Char(','), from) - from);
}

void PutArg(QString& args, const QString& key, QString& value)
{
    value.replace(QLatin1Char(';'), QLatin1Char(','));
    value.replace(QLatin1Char('"'), QStringLiteral("''"));
    if (!value.trimmed().isEmpty())
        args += QLatin1Char('"') + key + value;
}

QString GetArg(const QString& args, const QString& key)
{
    const qsizetype at = args.indexOf(QLatin1Char('"') + key, 0, Qt::CaseInsensitive);
    if (at < 0)
        return {};
    const qsizetype from = at + 2;
    const qsizetype end = args.indexOf(QLatin1Char('"'), from);
    return end < 0 ? args.mid(from) : args.mid(from, end - from);
}

std::optional<QString> GetNext(QString& list)
{
    while (!list.isEmpty() && list.back().unicode() < 32)
        list.chop(1);
    if (list.isEmpty())
        return std::nullopt;
    const qsizetype blank = list.indexOf(QLatin1Char(' '));
    if (blank < 0) {
        QString item = list.trimmed();
        list.clear();
        return item;
    }
    QString item = list.left(blank).trimmed();
    list = list.mid(blank + 1).trimmed();
    return item;
}

int CountItems(const QString& list)
{
    QString copy = list.trimmed();
    int count = 0;
    while (!copy.isEmpty() && GetNext(copy))
        ++count;
    return count;
}

QString Encrypt(const QString& text, const QString& key)
{
    const QString k = keyFor(text, key);
    const qsizetype n = text.size();
    QString result;
    result.reserve(n);
    for (qsizetype i = n; i >= 1; --i) {
        const int a = text[i - 1].unicode();
        const int b = k[n + i - 1].unicode();
        int v = a + b - 32;
        if (v > 127)
            v = a + b - 127;
        result += QChar(v);
    }
    return result;
}

QString Decrypt(const QString& text, const QString& key)
{
    const QString k = keyFor(text, key);
    const qsizetype n = text.size();
    QString result;
    result.reserve(n);
    for (qsizetype i = n; i >= 1; --i) {
        const int c = text[i - 1].unicode();
        const int kc = k[2 * n - i].unicode();
        int v = c - kc + 32;
        if (v < 32)
            v = c - kc + 127;
        result += QChar(v);
    }
    return result;
}

bool BoolFromIni(const QString& value) { return value == QLatin1String("True"); }
QString BoolToIni(bool value) { return value ? QStringLiteral("True") : QStringLiteral("False"); }

QString SpaceIfEmpty(const QString& value)
{
    const QString trimmed = value.trimmed();
    return trimmed.isEmpty() ? QStringLiteral(" ") : trimmed;
}

QString NullToEmpty(const QVariant& value) { return value.isNull() ? QString() : value.toString(); }

qint32 ShiftBits(qint32 value, int count)
{
    const quint32 bits = static_cast<quint32>(value);
    quint32 result = 0;
    for (int i = 0; i < 32; ++i) {
        const int to = i + count;
        if ((bits >> i) & 1u && to >= 0 && to <= 31)
            result |= 1u << to;
    }
    return static_cast<qint32>(result);
}

double Val(const QString& text)
{
    static const QRegularExpression number(QStringLiteral("^\\s*([-+]?(\\d+\\.?\\d*|\\.\\d+)([eE][-+]?\\d+)?)"));
    const auto match = number.match(text);
    return match.hasMatch() ? match.captured(1).toDouble() : 0.0;
}

int IntVal(const QString& text)
{
    const double v = Val(text);
    if (v > 2147483647.0)
        return 2147483647;
    if (v < -2147483648.0)
        return -2147483647 - 1;
    return static_cast<int>(v);
}

qint64 VersionNumber(const QString& version)
{
    QString digits = version;
    digits.remove(QLatin1Char('.'));
    return static_cast<qint64>(Val(digits));
}

QString FixString(const QString& text)
{
    QString result = text;
    result.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return result;
}

std::optional<QDate> ParseDate(const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return std::nullopt;
    static const QRegularExpression iso(QStringLiteral("^(\\d{4})-(\\d{1,2})-(\\d{1,2})$"));
    static const QRegularExpression mdy(QStringLiteral("^(\\d{1,2})[/-](\\d{1,2})[/-](\\d{2}|\\d{4})$"));
    if (const auto m = iso.match(t); m.hasMatch()) {
        const QDate d(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
        return d.isValid() ? std::optional(d) : std::nullopt;
    }
    if (const auto m = mdy.match(t); m.hasMatch()) {
        int year = m.captured(3).toInt();
        if (m.captured(3).size() == 2)
            year += year < 30 ? 2000 : 1900;
        const QDate d(year, m.captured(1).toInt(), m.captured(2).toInt());
        return d.isValid() ? std::optional(d) : std::nullopt;
    }
    return std::nullopt;
}

QString FormatShortDate(const QDate& date)
{
    return QStringLiteral("%1/%2/%3").arg(date.month()).arg(date.day()).arg(date.year(), 4, 10, QLatin1Char('0'));
}

QString VerifyDate(QString& text)
{
    if (const auto date = ParseDate(text))
        text = FormatShortDate(*date);
    return text;
}

QString SixDigits(qint64 number)
{
    return QString::number(number + 1000000).right(6);
}

}  // namespace tarlox
