#pragma once

#include <string>
#include <vector>

#include <windows.h>

/// What a list of services tells of each.
struct ServiceEntry
{
    std::wstring name;
    std::wstring displayName;
    SERVICE_STATUS_PROCESS status = {};
};

/// The computer's services. Whether a handle carries the right that an operation needs is the caller's
/// business. Service names are compared without regard to case. Every operation may be called on any thread
/// and returns a Windows error code, ERROR_SUCCESS where it succeeded.
class ServiceManager
{
public:
    virtual ~ServiceManager() = default;

    /// Whether the user may have @p access to the manager.
    virtual DWORD openManager(DWORD access) = 0;

    /// Whether the service exists and the user may have @p access to it.
    virtual DWORD openService(const std::wstring& name, DWORD access) = 0;

    virtual DWORD queryStatus(const std::wstring& name, SERVICE_STATUS_PROCESS& status) = 0;

    /// Sends the stop control; @p status is then the service's, also where it refuses.
    virtual DWORD stop(const std::wstring& name, SERVICE_STATUS_PROCESS& status) = 0;

    virtual DWORD start(const std::wstring& name) = 0;

    /// The services that depend on @p name, directly or not, each before those it depends on itself.
    /// @param states  SERVICE_ACTIVE, SERVICE_INACTIVE, or both.
    virtual DWORD dependents(const std::wstring& name, DWORD states, std::vector<ServiceEntry>& entries) = 0;
};

/// A computer whose service manager knows of no service.
class NoServices : public ServiceManager
{
public:
    DWORD openManager(DWORD) override { return ERROR_SUCCESS; }
    DWORD openService(const std::wstring&, DWORD) override { return ERROR_SERVICE_DOES_NOT_EXIST; }
    DWORD queryStatus(const std::wstring&, SERVICE_STATUS_PROCESS&) override
    {
        return ERROR_SERVICE_DOES_NOT_EXIST;
    }
    DWORD stop(const std::wstring&, SERVICE_STATUS_PROCESS&) override { return ERROR_SERVICE_DOES_NOT_EXIST; }
    DWORD start(const std::wstring&) override { return ERROR_SERVICE_DOES_NOT_EXIST; }
    DWORD dependents(const std::wstring&, DWORD, std::vector<ServiceEntry>&) override
    {
        return ERROR_SERVICE_DOES_NOT_EXIST;
    }
};
