#include "base/IniFile.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QStringDecoder>

namespace tarlox {

namespace {

const QString CrLf = QStringLiteral("\r\n");

QString cantOpen(const QString& path, const char* how)
{
    return QStringLiteral("Can't open ") + path + QStringLiteral(" for ") + QLatin1String(how);
}

// Opens (and so creates) a missing file, as the reader and writer both do first.
bool touch(const QString& path, QString* error)
{
    if (QFileInfo::exists(path)) {
        if (QFileInfo(path).isDir() || !QFileInfo(path).isReadable()) {
            *error = cantOpen(path, "reading");
            return false;
        }
        return true;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        *error = cantOpen(path, "reading");
        return false;
    }
    return true;
}

QString normaliseLineEnds(QString text)
{
    text.replace(CrLf, QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.replace(QLatin1Char('\n'), CrLf);
    return text;
}

bool isControlOrCr(QChar c) { return c.unicode() <= 13; }

}  // namespace

QString DecodeIniBytes(const QByteArray& bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    return QString::fromLatin1(bytes);
}

IniResult ReadIniValue(const QString& path, const QString& section, const QString& key)
{
    IniResult result;
    if (!touch(path, &result.error)) {
        result.ok = false;
        return result;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.ok = false;
        result.error = cantOpen(path, "reading");
        return result;
    }
    const QString text = DecodeIniBytes(file.readAll());
    const QString keyPattern = key.toLower() + QLatin1Char('=');
    const QString sectionPattern = QLatin1Char('[') + section.toLower() + QLatin1Char(']');
    bool inSection = false;
    qsizetype start = 0;
    while (start <= text.size()) {
        qsizetype end = start;
        while (end < text.size() && text[end] != QLatin1Char('\n') && text[end] != QLatin1Char('\r'))
            ++end;
        const QString line = text.mid(start, end - start);
        const QString lower = line.toLower();
        if (lower.contains(QLatin1Char('['))) {
            inSection = lower == sectionPattern;
        } else if (inSection && lower.startsWith(keyPattern)) {
            result.value = line.mid(keyPattern.size());
            return result;
        }
        if (end >= text.size())
            break;
        start = end + ((text[end] == QLatin1Char('\r') && end + 1 < text.size() && text[end + 1] == QLatin1Char('\n')) ? 2 : 1);
    }
    return result;
}

QString ApplyIniWrite(const QString& content, const QString& section, const QString& key, const QString& value)
{
    const QString sectionPattern = CrLf + QLatin1Char('[') + section.toLower() + QStringLiteral("]\r");
    const QString keyPattern = QLatin1Char('\n') + key.toLower() + QLatin1Char('=');
    const QString entry = key + QLatin1Char('=') + value;

    QString text = CrLf + normaliseLineEnds(content) + QStringLiteral("[]");
    const QString lower = text.toLower();
    const qsizetype sectionAt = lower.indexOf(sectionPattern);
    if (sectionAt < 0) {
        text.chop(2);
        text += CrLf + CrLf + QLatin1Char('[') + section + QLatin1Char(']') + CrLf + entry;
    } else {
        const qsizetype sectionLineEnd = sectionAt + sectionPattern.size();  // just behind the CR
        const qsizetype nextSection = lower.indexOf(QLatin1Char('['), sectionLineEnd);
        const qsizetype keyAt = lower.indexOf(keyPattern, sectionAt);
        text.chop(2);
        if (keyAt < 0 || keyAt > nextSection) {
            text.insert(sectionLineEnd + 1, entry + CrLf);
        } else {
            const qsizetype lineStart = keyAt + 1;
            qsizetype lineEnd = text.indexOf(QLatin1Char('\r'), lineStart);
            if (lineEnd < 0)
                lineEnd = text.size();
            text.replace(lineStart, lineEnd - lineStart, entry);
        }
    }
    text.remove(0, 1);
    const QString three = CrLf + CrLf + CrLf;
    const QString two = CrLf + CrLf;
    while (text.contains(three))
        text.replace(three, two);
    while (!text.isEmpty() && isControlOrCr(text.back()))
        text.chop(1);
    qsizetype lead = 0;
    while (lead < text.size() && isControlOrCr(text[lead]))
        ++lead;
    text.remove(0, lead);
    return text + CrLf;
}

IniResult WriteIniValue(const QString& path, const QString& section, const QString& key, const QString& value)
{
    IniResult result;
    QLockFile lock(path + QStringLiteral(".lock"));
    lock.setStaleLockTime(30000);
    if (!lock.tryLock(15000)) {
        result.ok = false;
        result.error = cantOpen(path, "writing");
        return result;
    }
    if (!touch(path, &result.error)) {
        result.ok = false;
        return result;
    }
    QFile in(path);
    if (!in.open(QIODevice::ReadOnly)) {
        result.ok = false;
        result.error = cantOpen(path, "reading");
        return result;
    }
    const QString updated = ApplyIniWrite(DecodeIniBytes(in.readAll()), section, key, value);
    in.close();

    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(updated.toUtf8()) < 0 || !out.commit()) {
        result.ok = false;
        result.error = cantOpen(path, "writing");
    }
    return result;
}

}  // namespace tarlox
