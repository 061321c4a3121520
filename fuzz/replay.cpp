// Runs a fuzz target without a fuzzer on the given files and on the files in the given folders. Fails if it
// cannot read a file or finds none.

#include "fuzztarget.h"

#include <cstdio>

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace {

bool replay(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s cannot be read\n", qPrintable(path));
        return false;
    }
    const QByteArray input = file.readAll();
    std::printf("%s\n", qPrintable(path)); // if the target ends the process, this is its input
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()),
                           static_cast<std::size_t>(input.size()));
    return true;
}

QStringList filesOf(const QString& path)
{
    if (!QFileInfo(path).isDir())
        return {path};
    QStringList files;
    QDirIterator folder(path, QDir::Files);
    while (folder.hasNext())
        files << folder.next();
    files.sort();
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const QString& path : filesOf(QFile::decodeName(argv[i]))) {
            if (!replay(path))
                return 1;
            ++replayed;
        }
    }
    if (replayed == 0)
        std::fprintf(stderr, "There is nothing to replay.\n");
    return replayed == 0 ? 1 : 0;
}
