#pragma once

#include <mutex>

#include "devicetree.h"
#include "handletable.h"

/// A device interface opened by CreateFileW.
class FileObject : public KernelObject
{
public:
    explicit FileObject(std::unique_ptr<DeviceFile> openedFile)
        : file(std::move(openedFile))
    {
    }

    const std::unique_ptr<DeviceFile> file;
    std::mutex transfer; ///< locked during each transfer through `file`
};
