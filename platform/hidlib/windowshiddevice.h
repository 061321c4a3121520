#pragma once

#include <string>

#include <windows.h>

#include "abstracthiddevice.h"

/// A HID device over the Windows HID class driver.
class WindowsHidDevice : public AbstractHidDevice
{
public:
    /// A closed device with the given interface path.
    explicit WindowsHidDevice(std::wstring interfacePath);
    /// Takes over an open handle.
    explicit WindowsHidDevice(HANDLE openHandle);
    ~WindowsHidDevice() override;
    WindowsHidDevice(const WindowsHidDevice&) = delete;
    WindowsHidDevice& operator=(const WindowsHidDevice&) = delete;

    bool open(int access, int share) override;
    void close() override;
    bool isOpen() const override;
    int usagePage() override;
    bool setFeatureBlocking(std::vector<unsigned char>* report) override;
    bool getFeatureBlocking(std::vector<unsigned char>* report) override;
    std::vector<unsigned char>* createReportBuffer(int reportKind) override;

private:
    struct Capabilities
    {
        int usagePage = 0;
        std::size_t reportBytes[3] = {}; ///< by report kind
    };

    const Capabilities& capabilities();
    std::size_t featureReportBytes();
    bool fits(const std::vector<unsigned char>& report);

    std::wstring path;
    HANDLE handle;
    bool capabilitiesKnown = false;
    Capabilities known;
};
