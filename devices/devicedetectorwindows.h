#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <windows.h>

#include <dbt.h>

#include "criticalsection.h"
#include "devicedetector.h"
#include "handlenotifications_p.h"

/// Detects devices by SetupAPI enumeration and device-change broadcasts.
///
/// A notification thread owns a hidden window, enumerates the devices present and receives the broadcasts of
/// arrivals and removals. A worker thread waits until no driver installation is pending, then turns queued
/// arrivals into records.
class DeviceDetectorWindows : public DeviceDetector
{
public:
    ~DeviceDetectorWindows() override;

    bool start(DeviceDetectorListener* reportTo, const DeviceId* ids, unsigned int count) override;
    void stop() override;
    HANDLE openDevice(DeviceInstance* device, int access, int share, SECURITY_ATTRIBUTES* security,
                      DWORD flagsAndAttributes) override;
    void closeDevice(HANDLE handle) override;
    void forget(DeviceInstance* removed) override;
    std::shared_ptr<DeviceHandle> lendDevice(DeviceInstance* device, int access, int share) override;
    void takeBack(const DeviceHandle& handle) override;

private:
    /// A device interface that a broadcast or the enumeration has found and that the worker thread must still
    /// examine. An all-zero class and an empty path mark the end of the enumeration.
    struct PendingArrival
    {
        GUID classGuid;
        std::wstring path;

        bool isEndOfEnumeration() const { return classGuid == GUID{} && path.empty(); }
    };
    struct GuidOrder
    {
        bool operator()(const GUID& a, const GUID& b) const { return std::memcmp(&a, &b, sizeof(GUID)) < 0; }
    };

    static DWORD WINAPI runNotificationThread(LPVOID detector);
    static DWORD WINAPI runWorkerThread(LPVOID detector);
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    void notificationThread();
    bool setUpNotifications();
    bool registerInterfaces();
    void tearDownNotifications();
    unsigned int enumerateInterfaces() THREAD_SAFETY(requires_capability(lock));
    void deviceChange(WPARAM event, const DEV_BROADCAST_HDR* header);
    void interfaceChange(WPARAM event, const DEV_BROADCAST_DEVICEINTERFACE_W& broadcast);
    void handleChange(WPARAM event, const DEV_BROADCAST_HANDLE& broadcast);
    void withdraw(const DEV_BROADCAST_HANDLE& broadcast);

    void workerThread();
    bool waitInstallationSettled();
    void examineArrivals();
    void waitForBroadcast();
    bool examineArrival();

    std::shared_ptr<DeviceHandle> open(DeviceInstance* device, int access, int share,
                                       SECURITY_ATTRIBUTES* security, DWORD flagsAndAttributes,
                                       bool isReopened);

    void addDevice(const PendingArrival& arrival) THREAD_SAFETY(requires_capability(lock));
    bool isWanted(const DeviceInstance& device) const THREAD_SAFETY(requires_capability(lock));
    void removeDevice(const std::wstring& path) THREAD_SAFETY(requires_capability(lock));
    void reopenDevice(const HandleRecord& closed) THREAD_SAFETY(requires_capability(lock));

    HWND window = nullptr;
    HANDLE notificationThreadHandle = nullptr;
    DWORD notificationThreadId = 0;
    HANDLE readyEvent = nullptr;
    HANDLE stopEvent = nullptr;
    HANDLE workerThreadHandle = nullptr;
    HANDLE workEvent = nullptr;
    bool started = false;
    CriticalSection broadcastInProgress; ///< held while a broadcast is handled; taken before `lock`
    CriticalSection lock;                ///< recursive; the detector also holds it during most reports
    std::map<std::wstring, std::unique_ptr<DeviceInstance>> knownDevices THREAD_SAFETY(guarded_by(lock));
    std::unordered_map<DeviceInstance*, std::unique_ptr<DeviceInstance>>
        removedDevices THREAD_SAFETY(guarded_by(lock)); ///< kept until forget()
    std::vector<DeviceId> filters THREAD_SAFETY(guarded_by(lock));
    std::vector<PendingArrival> arrivalQueue THREAD_SAFETY(guarded_by(lock));
    std::map<GUID, DeviceNotification, GuidOrder> interfaceNotifications THREAD_SAFETY(guarded_by(lock));
    HandleNotifications handleNotifications THREAD_SAFETY(guarded_by(lock));
};
