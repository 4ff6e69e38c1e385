#pragma once

#include "data/GridData.h"

#include <QDateTime>
#include <QList>
#include <QPair>
#include <QString>

namespace tarlox {

// The support listing of a machine's setup, for pasting into a mail to
// support: label/value rows, then one row per machine of the installation.
struct SupportFacts {
    QDateTime now;
    QString programVersion;
    QString serverIni;
    QString serverName;
    QString companyName;
    bool sql = false;
    QString timeout;
    QString server;
    QString userId;
    QString password;
    QString databasePassword;
    QString database;
    // As LoadUsers gives them: "Machine", "Name", "Scanner", "Create", "Login", "Interface".
    GridData machines;
};

struct SupportListing {
    QList<QPair<QString, QString>> rows;
    QStringList machineHead;           // "User", "Machine", "Scanner", "Create", "Login", "Interface"
    QList<QStringList> machineRows;    // in that order
};

SupportListing BuildSupportListing(const SupportFacts& facts);

// Plain text: "label = value" lines, a blank line, the machine table in padded columns.
QString SupportListingText(const SupportListing& listing);
// Rich text as HTML: two bordered tables.
QString SupportListingHtml(const SupportListing& listing);
// Rich text as RTF: the same two tables.
QByteArray SupportListingRtf(const SupportListing& listing);

// A value inside RTF text: backslashes doubled, braces escaped, characters
// beyond ASCII as \uN? escapes.
QString RtfEscape(const QString& text);

}  // namespace tarlox
