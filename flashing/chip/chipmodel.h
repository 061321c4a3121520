#pragma once

#include <optional>

/// A byte to write into a chip register.
struct RegisterWrite
{
    unsigned short address;
    unsigned char value;
};

/// What the updater knows about one revision of a chip. The updater writes nothing to a chip or revision that
/// it does not know.
struct ChipModel
{
    int id;                             ///< value of the identifier register
    int revision;                       ///< value of the revision register
    const char* name;                   ///< name in the log
    const char* family;                 ///< name in the log if the revision is unknown
    const char* revisionName;           ///< name of the revision in the log
    unsigned short smData;              ///< address of the loader's control block
    unsigned short ramBase;             ///< address of the buffer for downloads
    unsigned short readBuffer;          ///< address of the buffer for reading image bytes
    RegisterWrite headsetPinmux;        ///< the write that connects the headset's memory
    std::optional<RegisterWrite> patch; ///< the write that the chip needs before programming, if any
};

/// Finds the chip with the identifier @p id. Without a @p revision, any revision of the chip matches.
/// @return nullptr if the chip or the revision is not known.
const ChipModel* findChipModel(int id, std::optional<int> revision = std::nullopt);
