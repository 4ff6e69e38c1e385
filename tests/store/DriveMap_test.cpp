#include "store/DriveMap.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

TEST(DriveMap, LettersAndPrefixesBothWays)
{
    constexpr MapDirection S = MapDirection::ToStored, L = MapDirection::ToLocal;
    const struct { const char *map, *path; MapDirection direction; const char* expected; } cases[] = {
        {"", "C:/MTR", S, "C:/MTR"}, {"F=C", "C:/MTR", S, "F:/MTR"}, {"F=C", "D:/MTR", S, "D:/MTR"}, {"F=C", "F:/MTR", L, "C:/MTR"},
        {"F=CG=D", "G:/IMG", L, "D:/IMG"}, {"F=CG=D", "D:/IMG", S, "G:/IMG"}, {"F=CG=D", "E:/IMG", L, "E:/IMG"},
        {"F=C", "f:/img", L, "f:/img"},  // exact in case
        {"F=CC=D", "F:/X", L, "C:/X"},   // one mapping at most: F becomes C and is not mapped on to D
        {"F=", "F:/X", L, "F:/X"}, {"F=CG", "G:/X", L, "G:/X"},  // two characters are no entry; a trailing part of an entry is ignored
        {"F=C", "/srv/x", S, "/srv/x"}, {"F=C", "Fred/x", L, "Fred/x"},  // letter entries only touch drive-letter paths
        // prefixes at a component boundary
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox/2024", L, "/mnt/tarlox/2024"}, {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox", L, "/mnt/tarlox"},
        {"/srv/tarlox=/mnt/tarlox", "/srv/tarlox2/x", L, "/srv/tarlox2/x"}, {"/srv/tarlox=/mnt/tarlox", "/mnt/tarlox/2024", S, "/srv/tarlox/2024"},
        {"/srv/tarlox=/mnt/tarlox", "/mnt/tarlox/2024", L, "/mnt/tarlox/2024"}, {"/srv/tarlox/=/mnt/tarlox/", "/srv/tarlox/a", L, "/mnt/tarlox/a"},
        // first match wins, in the order written
        {"/srv=/a;/srv/tarlox=/b", "/srv/tarlox/x", L, "/a/tarlox/x"}, {"/srv/tarlox=/b;/srv=/a", "/srv/tarlox/x", L, "/b/x"},
        // letters and prefixes together
        {"F=C;/srv/tarlox=/mnt/tarlox", "F:/MTR", L, "C:/MTR"}, {"F=C;/srv/tarlox=/mnt/tarlox", "/srv/tarlox/MTR", L, "/mnt/tarlox/MTR"},
        {"F:/MTR=/mnt/mtr", "F:/MTR/2024", L, "/mnt/mtr/2024"}, {"/=/mnt/root", "/srv/x", L, "/mnt/root/srv/x"},
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
