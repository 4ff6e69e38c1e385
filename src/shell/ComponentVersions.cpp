#include "shell/ComponentVersions.h"

#include "store/SaneDeviceList.h"

#include <QRegularExpression>

#include <ZXing/ZXVersion.h>
#include <curl/curl.h>
#include <leptonica/allheaders.h>
#include <libpq-fe.h>
#include <poppler-version.h>
#include <sqlite3.h>
#include <tiffio.h>

namespace tarlox {

namespace {
const QString Unknown = QStringLiteral("Unknown");

QString orUnknown(const QString& text)
{
    return text.trimmed().isEmpty() ? Unknown : text.trimmed();
}
}  // namespace

QString VersionFromBanner(const QString& banner)
{
    static const QRegularExpression number(QStringLiteral("\\d+(\\.\\d+)+"));
    const QRegularExpressionMatch match = number.match(banner);
    return match.hasMatch() ? match.captured(0) : Unknown;
}

QString PostgresVersionText(int number)
{
    if (number <= 0)
        return Unknown;
    if (number >= 100000)
        return QStringLiteral("%1.%2").arg(number / 10000).arg(number % 10000);
    return QStringLiteral("%1.%2.%3").arg(number / 10000).arg(number / 100 % 100).arg(number % 100);
}

QList<ComponentVersion> ComponentVersions(const QString& programVersion)
{
    QList<ComponentVersion> rows;
    rows.append({QStringLiteral("Tarlox"), orUnknown(programVersion)});
    rows.append({QStringLiteral("Qt"), orUnknown(QString::fromLatin1(qVersion()))});

    const char* tiff = TIFFGetVersion();
    rows.append({QStringLiteral("libtiff"), tiff ? VersionFromBanner(QString::fromLatin1(tiff)) : Unknown});

    char* lept = getLeptonicaVersion();
    rows.append({QStringLiteral("Leptonica"), lept ? VersionFromBanner(QString::fromLatin1(lept)) : Unknown});
    if (lept)
        lept_free(lept);

    rows.append({QStringLiteral("SANE"), orUnknown(SaneVersionText())});

    const curl_version_info_data* curl = curl_version_info(CURLVERSION_NOW);
    rows.append({QStringLiteral("libcurl"), curl && curl->version ? QString::fromLatin1(curl->version) : Unknown});

    rows.append({QStringLiteral("ZXing-C++"),
                 QStringLiteral("%1.%2.%3").arg(ZXING_VERSION_MAJOR).arg(ZXING_VERSION_MINOR).arg(ZXING_VERSION_PATCH)});

    rows.append({QStringLiteral("Poppler"), orUnknown(Poppler::Version::string())});

    const char* sqlite = sqlite3_libversion();
    rows.append({QStringLiteral("SQLite"), sqlite ? QString::fromLatin1(sqlite) : Unknown});

    rows.append({QStringLiteral("libpq"), PostgresVersionText(PQlibVersion())});
    return rows;
}

}  // namespace tarlox
