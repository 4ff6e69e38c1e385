#include "capture/BarcodeKey.h"

#include <limits>

namespace tarlox {

namespace {

// A number of the key: blank is 0; otherwise a whole number of the 16-bit range.
bool ReadNumber(const QString& piece, const QString& name, qint16& value, QString& error)
{
    const QString trimmed = piece.trimmed();
    if (trimmed.isEmpty()) {
        value = 0;
        return true;
    }
    bool ok = false;
    const int number = trimmed.toInt(&ok, 10);
    if (ok && number >= std::numeric_limits<qint16>::min() && number <= std::numeric_limits<qint16>::max()) {
        value = qint16(number);
        return true;
    }
    error = QStringLiteral("The barcode's %1 \"%2\" is not a whole number from -32768 to 32767.").arg(name, piece);
    return false;
}

}  // namespace

IoResult<BarcodeKey> SplitBarcodeText(const QString& text)
{
    QStringList pieces = text.split(QLatin1Char('\t'));
    if (pieces.size() == 3)
        pieces = {pieces[0], QString(), pieces[1]};  // P/O and line: the receipt is 0
    pieces.resize(4);

    BarcodeKey key;
    key.purchaseOrder = pieces[0];
    QString error;
    if (!ReadNumber(pieces[1], QStringLiteral("receipt"), key.receipt, error)
        || !ReadNumber(pieces[2], QStringLiteral("line"), key.line, error)
        || !ReadNumber(pieces[3], QStringLiteral("tag"), key.tag, error))
        return Failure(error);
    return key;
}

QStringList SplitCsvLine(const QString& line)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted) {
            if (c == QLatin1Char('"') && i + 1 < line.size() && line[i + 1] == QLatin1Char('"')) {
                field += c;
                ++i;
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            fields.append(field.trimmed());
            field.clear();
        } else {
            field += c;
        }
    }
    fields.append(field.trimmed());
    return fields;
}

IoResult<QList<BarcodeKey>> ReadKeyLines(const QString& text)
{
    QList<BarcodeKey> keys;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty())
            continue;
        QStringList fields = line.contains(QLatin1Char('\t')) ? line.split(QLatin1Char('\t')) : SplitCsvLine(line);
        fields.resize(4);
        if (fields[0].trimmed().isEmpty())
            return Failure(QStringLiteral("Line %1 has no P/O: %2").arg(i + 1).arg(line));
        IoResult<BarcodeKey> key = SplitBarcodeText(fields.join(QLatin1Char('\t')));
        if (!key)
            return Failure(QStringLiteral("Line %1: %2").arg(i + 1).arg(key.error()));
        key->purchaseOrder = key->purchaseOrder.trimmed();
        keys.append(*key);
    }
    return keys;
}

QStringList BarcodeValues(const BarcodeKey& key)
{
    return {key.purchaseOrder, QString::number(key.receipt), QString::number(key.line), QString::number(key.tag)};
}

}  // namespace tarlox
