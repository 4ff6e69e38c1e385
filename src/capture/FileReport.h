#pragma once

#include "data/InfoData.h"

#include <QString>
#include <QStringList>

namespace tarlox {

class Session;

// A new report from files on disk: the pages of every file, in order, as
// one image with the references of the entry in session.info.
struct FileReportRequest {
    QStringList files;
    QString pageSizeCode = QStringLiteral(" ");
    int dpi = 0;  // resolution for PDF pages and for pictures that record none; 0: their own or 200
    Duplicates duplicates = Duplicates::Ask;
};

struct FileReportResult {
    qint32 imageNumber = 0;  // 0 when nothing was stored
    int pages = 0;
    QString error;           // why nothing was stored, when the files were at fault
};

// Checks every file before a number is taken, so unreadable input costs
// nothing; then stores the report through SaveMTR.
FileReportResult AddReportFromFiles(Session& session, const FileReportRequest& request);

}  // namespace tarlox
