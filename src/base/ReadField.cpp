#include "base/ReadField.h"

namespace tarlox {

IoResult<QString> ReadField(QStringView text, qsizetype& position)
{
    const auto pastEnd = [] { return Failure(QStringLiteral("The text ends inside a field.")); };
    if (position >= text.size())
        return pastEnd();

    QString result;
    const QChar first = text[position++];
    if (first == u',')
        return result;
    const bool delimited = first == u'"' || first == u'#';
    const QChar delimiter = delimited ? first : QChar(u',');
    if (!delimited)
        result += first;

    for (;;) {
        if (position >= text.size())
            return pastEnd();
        QChar c = text[position++];
        if (c == delimiter) {
            if (delimited) {
                if (position >= text.size())
                    return result;
                c = text[position++];
            }
            if (c == u',')
                return result;
        }
        if (c == u'\r') {
            if (position < text.size())
                ++position;  // the line feed
            return result;
        }
        result += c;
    }
}

IoResult<QStringList> ReadFields(QStringView line)
{
    const QString text = line + u"\r\n";
    QStringList fields;
    qsizetype position = 0;
    while (position < text.size()) {
        IoResult<QString> field = ReadField(text, position);
        if (!field)
            return Failure(QStringLiteral("field %1 runs past the end of the line").arg(fields.size() + 1));
        fields << std::move(field).value();
    }
    return fields;
}

}  // namespace tarlox
