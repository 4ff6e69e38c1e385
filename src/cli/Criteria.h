#pragma once

#include "search/FindQuery.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>

namespace tarlox::cli {

// The criteria of the find screen as options: find itself and the commands
// that work on a found set (export, move, delete) take the same ones.
QList<QCommandLineOption> FindCriteriaOptions();

// Reads them into c; the error line of a bad date, empty when all is well.
QString ReadFindCriteria(const QCommandLineParser& p, FindCriteria& c);

// --from DATE and --to DATE into from and to as yyyy-mm-dd (left as they are
// when not given); the error line of a bad date, empty when all is well.
QString ReadDateRange(const QCommandLineParser& p, QString& from, QString& to);

}  // namespace tarlox::cli
