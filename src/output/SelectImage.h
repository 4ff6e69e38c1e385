#pragma once

#include <QString>

#include <optional>

namespace tarlox {

class Session;

// The facts of one found image as the selection screen shows them.
struct SelectedImage {
    qint32 number = 0;
    QString fileName;  // "TR000123.TIF"
    QString path;      // the row's directory, as stored
    QString volume;    // the row's volume label
    QString date;      // the entry date as lists show it
    QString size;      // the page size code: " ", "G" or "A"
    QString type;
    QString filePath;  // where the file is on this machine
    int pages = 0;
};

// Locates an image for the selection screen: reads its row, makes it the
// image in hand (name, paths through the drive map, keys "Last Image" and
// "ImageDir"), asks for the right volume while the file is missing from a
// mounted volume of another name, and counts the file's pages. nullopt after
// telling why ("Can't find image in data base!", "This image file no longer
// exists!", "Invalid Volume!").
std::optional<SelectedImage> LocateImage(Session& session, qint32 number);

// The number of pages of an image file; 0 when it can't be read.
int GetPages(const QString& path);

}  // namespace tarlox
