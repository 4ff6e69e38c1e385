#pragma once

// The poppler and qpdf tools run on the PDFs the output writes.

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>

namespace tarlox::test {

// The standard output of a program; exitCode gets its exit code (-1 when it didn't end normally).
inline QString Tool(const QString& program, const QStringList& arguments, int* exitCode = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit;
    if (exitCode)
        *exitCode = ended ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAllStandardOutput());
}

// The pages of a PDF in grey levels as pdftoppm renders them at dpi; stem is
// the path of the page files without their number. None when it can't be read.
inline QList<QImage> GreyPages(const QString& pdf, const QString& stem, int dpi)
{
    const QDir dir = QFileInfo(stem).dir();
    const QStringList pattern{QFileInfo(stem).fileName() + QStringLiteral("*.pgm")};
    for (const QString& name : dir.entryList(pattern, QDir::Files))
        QFile::remove(dir.filePath(name));
    int code = -1;
    Tool(QStringLiteral("pdftoppm"), {QStringLiteral("-r"), QString::number(dpi), QStringLiteral("-gray"), pdf, stem}, &code);
    QList<QImage> pages;
    for (const QString& name : dir.entryList(pattern, QDir::Files, QDir::Name))
        pages << QImage(dir.filePath(name));
    return code == 0 ? pages : QList<QImage>();
}

}  // namespace tarlox::test
