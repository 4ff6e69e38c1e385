#include "store/DriveMap.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

TEST(DriveMap, LettersAndPrefixesBothWays)
{
    const struct { const char *map, *path; MapDirection direction; const char* expected; } cases[] = {
        {"", "C:/MTR", MapDirection::ToStored, "C:/MTR"},
        {"F=C", "C:/MTR", MapDirection::ToStored, "F:/MTR"},
        {"F=C", "D:/MTR", MapDirection::ToStored, "D:/MTR"},
        {"F=C", "F:/MTR", MapDirection::ToLocal, "C:/MTR"},
        {"F=CG=D", "G:/IMG", MapDirection::ToLocal, "D:/IMG"},
        {"F=CG=D", "D:/IMG", MapDirection::ToStored, "G:/IMG"},
        {"F=CG=D", "E:/IMG", MapDirection::ToLocal, "E:/IMG"},
        // exact in case
        {"F=C", "f:/img", MapDirection::ToLocal, "f:/img"},
        // one mapping at most: F becomes C and is not mapped on to D
        {"F=CC=D", "F:/X", MapDirection::ToLocal, "C:/X"},
        // two characters are no entry; a trailing part of an entry is ignored
        {"F=", "F:/X", MapDirection::ToLocal, "F:/X"},
        {"F=CG", "G:/X", MapDirection::ToLocal, "G:/X"},
        // letter entries only touch drive-letter paths
        {"F=C", "/srv/x", MapDirection::ToStored, "/srv/x"},
        {"F=C", "Fred/x", MapDirection::ToLocal, "Fred/x"},
        // prefixes at a component boundary
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox/2024", MapDirection::ToLocal, "/mnt/tarlox/2024"},
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox", MapDirection::ToLocal, "/mnt/tarlox"},
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox2/x", MapDirection::ToLocal, "/srv/tarlox2/x"},
        {"/srv/tarlox=/mnt/tarlox", "/mnt/tarlox/2024", MapDirection::ToStored, "/srv/tarlox/2024"},
        {"/srv/tarlox=/mnt/tarlox", "/mnt/tarlox/2024", MapDirection::ToLocal, "/mnt/tarlox/2024"},
        {"/srv/tarlox/=/mnt/tarlox/", "/srv/tarlox/a", MapDirection::ToLocal, "/mnt/tarlox/a"},
        // first match wins, in the order written
        {"/srv=/a;/srv/tarlox=/b", "/srv/tarlox/x", MapDirection::ToLocal, "/a/tarlox/x"},
        {"/srv/tarlox=/b;/srv=/a", "/srv/tarlox/x", MapDirection::ToLocal, "/b/x"},
        // letters and prefixes together
        {"F=C;/srv/tarlox=/mnt/tarlox", "F:/MTR", MapDirection::ToLocal, "C:/MTR"},
        {"F=C;/srv/tarlox=/mnt/tarlox", "/srv/tarlox/MTR", MapDirection::ToLocal, "/mnt/tarlox/MTR"},
        {"F:/MTR=/mnt/mtr", "F:/MTR/2024", MapDirection::ToLocal, "/mnt/mtr/2024"},
        {"/=/mnt/root", "/srv/x", MapDirection::ToLocal, "/mnt/root/srv/x"},
    };
    for (const auto& c : cases) {
        const DriveMapResult result = ApplyDriveMap(QLatin1String(c.map), QLatin1String(c.path), c.direction);
        EXPECT_EQ(std::tuple(result.ok(), result.path), std::tuple(true, QString::fromLatin1(c.expected))) << c.map << " " << c.path;
    }
}

TEST(DriveMap, MalformedMapsAreFaults)
{
    for (const char* map : {"F", "F=C;G", "/srv/tarlox", "/srv/tarlox=", "=/mnt"}) {
        const DriveMapResult result = ApplyDriveMap(QLatin1String(map), QStringLiteral("F:/x"), MapDirection::ToLocal);
        EXPECT_EQ(std::tuple(result.ok(), result.path), std::tuple(false, QStringLiteral("F:/x"))) << map;
    }
}

}  // namespace
