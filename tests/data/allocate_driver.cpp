// One workstation adding reports as fast as it can, for the numbering tests; prints each number stored.
//   allocate_driver --ini LOCALINI --count N [--bytes SIZE]
// Exit codes: 0 done, 2 bad usage or no session, 3 no number, 4 the image file existed already,
// 5 the file could not be placed, 6 the rows failed, 7 a question was asked.

#include "data/ImageData.h"
#include "data/InfoData.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"
#include "store/ImageStore.h"
#include "store/NextImage.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <unistd.h>

using namespace tarlox;

namespace {

class CountingPrompter : public NonInteractivePrompter {
public:
    CountingPrompter() : NonInteractivePrompter(false) {}
    Answer ask(const Prompt& prompt) override { ++asked; return NonInteractivePrompter::ask(prompt); }
    int asked = 0;
};

// A head and a trailer naming the image: a complete file of the right number is told from anything else.
QByteArray contentFor(qint32 number, int bytes)
{
    return "TARLOX TEST " + QByteArray::number(number) + '\n' + QByteArray(std::max(bytes, 0), static_cast<char>('a' + number % 26)) + "\nEND "
           + QByteArray::number(number) + '\n';
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const auto option = [&](const char* name, const QString& fallback = {}) {
        const qsizetype at = args.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < args.size() ? args[at + 1] : fallback;
    };
    const QString ini = option("--ini");
    const int count = option("--count", QStringLiteral("1")).toInt();
    const int bytes = option("--bytes", QStringLiteral("4096")).toInt();
    if (ini.isEmpty() || count <= 0) {
        std::fprintf(stderr, "usage: allocate_driver --ini LOCALINI --count N [--bytes SIZE]\n");
        return 2;
    }

    CountingPrompter prompter;
    Session s(prompter);
    std::tie(s.localIni, s.programDir) = std::tuple(QFileInfo(ini).absoluteFilePath(), QFileInfo(ini).absolutePath() + QLatin1Char('/'));
    if (!StartSession(s).ok() || !GetInfoFieldLengths(s)) return 2;
    const QByteArray pid = QByteArray::number(static_cast<qint64>(::getpid()));
    ConnectionScope connection(s.db());
    for (int i = 0; i < count; ++i) {
        const QDateTime now = s.now();
        s.info = InfoRecord{QStringLiteral("H") + QString::fromLatin1(pid) + QLatin1Char('-') + QString::number(i),
                            QStringLiteral("P") + QString::number(i), QStringLiteral("A B"), QStringLiteral("Driver"), {}, now, 0};
        const auto taken = GetNextImage(s);
        if (!taken) return 3;
        const qint32 number = taken->number;
        std::tie(s.tempFilePath, s.imageFilePath) = std::tie(taken->tempFilePath, taken->filePath);
        if (QFile work(s.tempFilePath); !work.open(QIODevice::WriteOnly) || work.write(contentFor(number, bytes)) < 0) return 5;
        if (QFile::exists(s.imageFilePath)) return std::fprintf(stderr, "%s exists already\n", qPrintable(s.imageFilePath)), 4;
        if (!FromTemp(s)) return 5;
        KillFile(s.tempFilePath);
        s.image = ImageRecord{number, taken->storedPath, s.dataVolume, now, QStringLiteral(" "), QStringLiteral("4")};
        s.info.imageNumber = number;
        if (!AddImageWithInfo(s, false)) return 6;
        std::printf("%d\n", number);
        std::fflush(stdout);
        if (prompter.asked > 0) return 7;
    }
    return 0;
}
