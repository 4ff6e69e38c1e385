#pragma once

// The one reading of option values for every command of tarlox-cli. Each
// reader takes the option's name as the user wrote it ("--size", or "N" for
// a positional argument) and gives the value, or one line naming the option.

#include "base/TextTools.h"

#include <QDate>
#include <QPair>
#include <QString>

#include <algorithm>
#include <limits>

namespace tarlox::cli {

template <typename T>
struct Parsed {
    T value{};
    QString error;  // empty when the value is good

    explicit operator bool() const { return error.isEmpty(); }
};

namespace detail {

inline QString notText(const QString& text) { return QStringLiteral(", not \"") + text + QLatin1Char('"'); }

}  // namespace detail

inline const QString PageSizeHelp = QStringLiteral("page size: letter (default), legal or a4; also the codes \" \", G, A");

// The stored page size code: " " Letter, "G" Legal, "A" A4, from the names
// (any case) or the codes themselves. Empty text is Letter.
inline Parsed<QString> PageSizeValue(const QString& option, const QString& text)
{
    const QString t = text.trimmed().toLower();
    if (t.isEmpty() || t == QLatin1String("letter"))
        return {QStringLiteral(" ")};
    if (t == QLatin1String("legal") || t == QLatin1String("g"))
        return {QStringLiteral("G")};
    if (t == QLatin1String("a4") || t == QLatin1String("a"))
        return {QStringLiteral("A")};
    return {{}, option + QStringLiteral(" takes letter, legal or a4 (or the codes \" \", G, A)") + detail::notText(text)};
}

// The pages to send: "All" (any case, or no text) or page numbers n,m,l,
// as the output forms take them.
inline Parsed<QString> PagesValue(const QString& option, const QString& text)
{
    const QString t = text.trimmed();
    if (t.isEmpty() || t.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0)
        return {QStringLiteral("All")};
    if (std::all_of(t.cbegin(), t.cend(), [](QChar c) { return c == QLatin1Char(',') || c.isDigit(); }))
        return {t};
    return {{}, option + QStringLiteral(" must be 'All' or in the form 'n,m,l'") + detail::notText(text)};
}

// A whole number within minimum .. maximum; nothing else on the text.
inline Parsed<int> IntegerValue(const QString& option, const QString& text, int minimum = std::numeric_limits<int>::min(),
                                int maximum = std::numeric_limits<int>::max())
{
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    if (ok && value >= minimum && value <= maximum)
        return {value};
    QString range;
    if (maximum == std::numeric_limits<int>::max())
        range = minimum == std::numeric_limits<int>::min() ? QString() : QStringLiteral(" of at least %1").arg(minimum);
    else
        range = QStringLiteral(" from %1 to %2").arg(minimum).arg(maximum);
    return {0, option + QStringLiteral(" takes a whole number") + range + detail::notText(text)};
}

// A scanning or rendering resolution in dots per inch.
inline Parsed<int> DpiValue(const QString& option, const QString& text)
{
    Parsed<int> dpi = IntegerValue(option, text, 50, 1200);
    if (!dpi)
        dpi.error = option + QStringLiteral(" takes a resolution from 50 to 1200") + detail::notText(text);
    return dpi;
}

// A date as the find screen takes it: month/day/year or yyyy-mm-dd.
inline Parsed<QDate> DateValue(const QString& option, const QString& text)
{
    if (const auto date = ParseDate(text))
        return {*date};
    return {{}, option + QStringLiteral(": Invalid Date: ") + text + QStringLiteral(" (month/day/year or yyyy-mm-dd)")};
}

// "KEY=VALUE", as in --message N=Smith: the key is trimmed and not empty,
// the value is everything after the first "=" and may be empty.
inline Parsed<QPair<QString, QString>> PairValue(const QString& option, const QString& text)
{
    const qsizetype equals = text.indexOf(QLatin1Char('='));
    const QString key = text.left(equals).trimmed();
    if (equals < 0 || key.isEmpty())
        return {{}, option + QStringLiteral(" takes KEY=VALUE") + detail::notText(text)};
    return {{key, text.mid(equals + 1)}};
}

}  // namespace tarlox::cli
