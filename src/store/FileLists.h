#pragma once

#include <QString>

#include <set>

namespace tarlox {

class Session;

// The pages chosen from a report: all of them, or the listed page numbers.
struct PageSelection {
    bool all = false;
    std::set<int> pages;

    bool contains(int page) const { return all || pages.count(page) > 0; }
};

// A page list as the output forms keep it: "" or "All" (in any case) is
// every page, otherwise page numbers separated by commas. Items that are not
// numbers are passed over. There is no upper limit.
PageSelection CheckPages(const QString& pageList);

// The file names of a selection, "file;pages;file;pages...", joined by
// separator. somePages turns true when any page list chooses only some pages.
QString BuildFileList(const QString& selection, const QString& separator, bool& somePages);

// Deletes each file of a list joined by separator, ignoring every failure,
// with the busy pointer shown meanwhile.
void DeleteTempFiles(Session& session, const QString& files, const QString& separator);

}  // namespace tarlox
