#pragma once

#include <QString>

namespace tarlox {

class Session;

// Brings a database of any age to the current shape in place. Every step
// looks at the schema first, so running it again, or on a partly upgraded
// database, is safe. Shows "Error" with the step's text when a step fails.
bool RevUp(Session& session);

// Gives the two key columns that may not be null a single blank.
bool FixInfo(Session& session);

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
// The search indexes: newest first, each searchable column by value and by
// its beginning, any part of a value through trigrams.
inline const QString InfoDateImage = QStringLiteral("Info:Date/Image");
inline const QString InfoPo = QStringLiteral("Info:P/O #");
inline const QString InfoVend = QStringLiteral("Info:Vend Name");
inline const QString InfoMfg = QStringLiteral("Info:Mfg Name");
inline const QString ImagesPath = QStringLiteral("Images:Path");
inline const QString InfoImageText = QStringLiteral("Info:Image # text");
inline const QString SearchTermsKey = QStringLiteral("Search Terms:Field/Term");
}  // namespace IndexName

// The tables behind the search. On the file database, "Search Terms" holds
// each distinct value of the searchable columns once and "Search Trigrams"
// (FTS5, trigram tokenizer, keyed by the term's ID) finds the terms that
// contain a piece of text. On both engines "Missing Images" holds the image
// numbers that have references but no Images row, so that counting the
// references that can be shown needs no join. Triggers keep all three in step.
// The columns a search looks into by text, with the name each has among
// the search terms and trigrams.
struct SearchColumn {
    const char* table;
    const char* column;
    const char* term;
};
inline constexpr SearchColumn SearchColumns[] = {
    {"Info", "Heat #", "Heat"}, {"Info", "Part #", "Part"},     {"Info", "P/O #", "PO"},
    {"Info", "Vend Name", "Vend"}, {"Info", "Mfg Name", "Mfg"}, {"Images", "Path", "Path"},
};

namespace SearchTable {
inline const QString Terms = QStringLiteral("Search Terms");
inline const QString Trigrams = QStringLiteral("Search Trigrams");
inline const QString MissingImages = QStringLiteral("Missing Images");
}  // namespace SearchTable

}  // namespace tarlox
