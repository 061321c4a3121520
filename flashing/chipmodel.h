#pragma once

#include <optional>

/// A byte for a chip register.
struct RegisterWrite
{
    unsigned short address;
    unsigned char value;
};

/// What the updater knows of a revision of a chip. To one that is not known it writes nothing at all.
struct ChipModel
{
    int id;       ///< in the identifier register
    int revision; ///< in the revision register
    const char* name;
    const char* family;
    const char* revisionName;
    unsigned short smData;              ///< address of the loader's control block
    unsigned short ramBase;             ///< address of the buffer for downloads
    unsigned short readBuffer;          ///< address to which image bytes are loaded to be read
    RegisterWrite headsetPinmux;        ///< connects the headset's memory
    std::optional<RegisterWrite> patch; ///< to be made before programming
};

/// @param revision  without one, any will do.
/// @return nullptr where the chip or the revision is not known.
const ChipModel* findChipModel(int id, std::optional<int> revision = std::nullopt);
