#pragma once

#include <QDate>
#include <QString>
#include <optional>

namespace tarlox {

// Value of one key of a tag string such as "Section=Email,Item=User"; empty when absent.
QString GetTag(const QString& tag, const QString& key);

// ArgumentString fields: a double quote, one key letter and the value.
// PutArg replaces ";" by "," and '"' by "''" in the caller's value too.
void PutArg(QString& args, const QString& key, QString& value);
QString GetArg(const QString& args, const QString& key);

// Blank-separated lists. GetNext on an empty list is the caller's fault:
// it returns nullopt so the caller can report it.
std::optional<QString> GetNext(QString& list);
int CountItems(const QString& list);

// The reversible cipher of stored passwords; an empty key means the built-in one.
QString Encrypt(const QString& text, const QString& key = {});
QString Decrypt(const QString& text, const QString& key = {});

bool BoolFromIni(const QString& value);
QString BoolToIni(bool value);
QString SpaceIfEmpty(const QString& value);
QString NullToEmpty(const QVariant& value);
qint32 ShiftBits(qint32 value, int count);
qint64 VersionNumber(const QString& version);
QString FixString(const QString& text);

// The lenient numeric reading of settings: leading blanks skipped, the
// longest number at the start taken, anything else (and empty) gives 0.
double Val(const QString& text);
int IntVal(const QString& text);

// Dates typed by users: month/day/year (two- or four-digit year) or ISO yyyy-mm-dd.
std::optional<QDate> ParseDate(const QString& text);
// Rewrites a readable date in place as month/day/four-digit year without
// leading zeros, and returns it; other text is returned unchanged.
QString VerifyDate(QString& text);
QString FormatShortDate(const QDate& date);

// Six-digit label of an image number: "TR" + the last six digits of number + 1,000,000.
QString SixDigits(qint64 number);

}  // namespace tarlox
