// Runs a fuzz target without a fuzzer on the files in the given folder. Fails if it cannot read a file or if
// the folder contains no file.

#include "fuzztarget.h"

#include <cstdio>

#include <QDir>
#include <QFile>

int main(int argc, char** argv)
{
    FuzzTarget::require(argc == 2, "the only argument must be a folder");
    const auto inputs = QDir(QFile::decodeName(argv[1])).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& input : inputs) {
        // If the target ends the process, the last printed name is the name of the failing input.
        std::printf("%s\n", qPrintable(input.fileName()));
        std::fflush(stdout);
        QFile file(input.filePath());
        FuzzTarget::require(file.open(QIODevice::ReadOnly), "the input cannot be read");
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                               static_cast<std::size_t>(bytes.size()));
    }
    FuzzTarget::require(!inputs.isEmpty(), "the folder has no files to replay");
    return 0;
}
