#pragma once

#include <QString>

namespace tarlox {

class Session;

// Brings a database of any age to the current shape in place. Every step
// looks at the schema first, so running it again, or on a partly upgraded
// database, is safe. Shows "Error" with the step's text when a step fails.
bool RevUp(Session& session);

// Gives the two key columns that may not be null a single blank.
bool FixInfo(Session& session, bool keepOpen);

// Names of the indexes. Index names are global per database on both engines,
// so each carries its table's name.
namespace IndexName {
inline const QString InfoKey = QStringLiteral("Info:Part #/Heat #");
inline const QString InfoDatePo = QStringLiteral("Info:Date/PO");
inline const QString InfoHeat = QStringLiteral("Info:Heat #");
inline const QString InfoImage = QStringLiteral("Info:Image #");
inline const QString InfoTest = QStringLiteral("Info:Test Index");
inline const QString ImagesImage = QStringLiteral("Images:Image #");
inline const QString ContactsName = QStringLiteral("Contacts:Name");
inline const QString ContactsCompany = QStringLiteral("Contacts:Company");
inline const QString OptionsId = QStringLiteral("Options:OptionsID");
inline const QString UsersMachine = QStringLiteral("TarloxUsers:MachineName");
}  // namespace IndexName

}  // namespace tarlox
