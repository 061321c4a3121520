// The service control manager.

#include <winsvc.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "handletable.h"
#include "lasterror.h"

namespace {

/// The kinds that CloseServiceHandle closes.
class ServiceHandleObject : public HandleObject
{
};

class ManagerObject : public ServiceHandleObject
{
};

class ServiceObject : public ServiceHandleObject
{
public:
    ServiceObject(std::wstring serviceName, DWORD grantedAccess)
        : name(std::move(serviceName))
        , access(grantedAccess)
    {
    }

    const std::wstring name;
    const DWORD access;
};

BOOL complete(DWORD error)
{
    return error == ERROR_SUCCESS || fail(error);
}

/// The service behind a handle that carries the right @p access; null with the last error set.
std::shared_ptr<ServiceObject> serviceWith(SC_HANDLE handle, DWORD access)
{
    auto service = HandleTable::get<ServiceObject>(handle);
    if (service && !(service->access & access))
        return fail(ERROR_ACCESS_DENIED);
    return service;
}

bool isEmpty(LPCWSTR text)
{
    return !text || !*text;
}

/// SERVICE_STATUS is the beginning of SERVICE_STATUS_PROCESS.
SERVICE_STATUS shortStatus(const SERVICE_STATUS_PROCESS& status)
{
    return {status.dwServiceType,
            status.dwCurrentState,
            status.dwControlsAccepted,
            status.dwWin32ExitCode,
            status.dwServiceSpecificExitCode,
            status.dwCheckPoint,
            status.dwWaitHint};
}

/// Whether the reply to a control tells the service's status; otherwise it is all zero.
bool tellsStatus(DWORD error)
{
    return error == ERROR_SUCCESS || error == ERROR_INVALID_SERVICE_CONTROL ||
           error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL || error == ERROR_SERVICE_NOT_ACTIVE;
}

std::size_t textBytes(const std::wstring& text)
{
    return (text.size() + 1) * sizeof(wchar_t);
}

std::size_t bytesOf(const std::vector<ServiceEntry>& entries)
{
    std::size_t bytes = 0;
    for (const ServiceEntry& entry : entries)
        bytes += sizeof(ENUM_SERVICE_STATUSW) + textBytes(entry.name) + textBytes(entry.displayName);
    return bytes;
}

/// Copies @p text to @p target, which then points behind it. @return the copy.
LPWSTR putText(wchar_t*& target, const std::wstring& text)
{
    LPWSTR const copy = target;
    std::memcpy(copy, text.c_str(), textBytes(text));
    target += text.size() + 1;
    return copy;
}

} // namespace

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machineName, LPCWSTR databaseName, DWORD desiredAccess)
{
    if (!isEmpty(machineName))
        return fail(RPC_S_SERVER_UNAVAILABLE); // other computers cannot be reached
    if (!isEmpty(databaseName) && _wcsicmp(databaseName, SERVICES_ACTIVE_DATABASEW) != 0)
        return fail(ERROR_DATABASE_DOES_NOT_EXIST);
    const DWORD error = currentMachine().serviceManager().openManager(desiredAccess);
    if (error != ERROR_SUCCESS)
        return fail(error);
    return static_cast<SC_HANDLE>(HandleTable::add(std::make_shared<ManagerObject>()));
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE handle, LPCWSTR serviceName, DWORD desiredAccess)
{
    if (!HandleTable::get<ManagerObject>(handle))
        return nullptr; // any handle to the manager carries the right to connect, which is all it takes
    if (isEmpty(serviceName))
        return fail(ERROR_INVALID_NAME);
    const DWORD error = currentMachine().serviceManager().openService(serviceName, desiredAccess);
    if (error != ERROR_SUCCESS)
        return fail(error);
    return static_cast<SC_HANDLE>(
        HandleTable::add(std::make_shared<ServiceObject>(serviceName, desiredAccess)));
}

BOOL WINAPI QueryServiceStatusEx(SC_HANDLE handle, SC_STATUS_TYPE infoLevel, LPBYTE buffer, DWORD bufferSize,
                                 LPDWORD bytesNeeded)
{
    if (infoLevel != SC_STATUS_PROCESS_INFO)
        return fail(ERROR_INVALID_LEVEL);
    const auto service = serviceWith(handle, SERVICE_QUERY_STATUS);
    if (!service)
        return FALSE;
    *bytesNeeded = sizeof(SERVICE_STATUS_PROCESS);
    if (bufferSize < sizeof(SERVICE_STATUS_PROCESS))
        return fail(ERROR_INSUFFICIENT_BUFFER);
    SERVICE_STATUS_PROCESS status = {};
    const DWORD error = currentMachine().serviceManager().queryStatus(service->name, status);
    if (error == ERROR_SUCCESS)
        std::memcpy(buffer, &status, sizeof(status));
    return complete(error);
}

BOOL WINAPI ControlService(SC_HANDLE handle, DWORD control, LPSERVICE_STATUS serviceStatus)
{
    if (control != SERVICE_CONTROL_STOP)
        return fail(ERROR_INVALID_PARAMETER); // no other control is modelled
    const auto service = serviceWith(handle, SERVICE_STOP);
    if (!service)
        return FALSE;
    SERVICE_STATUS_PROCESS status = {};
    const DWORD error = currentMachine().serviceManager().stop(service->name, status);
    *serviceStatus = tellsStatus(error) ? shortStatus(status) : SERVICE_STATUS{};
    return complete(error);
}

BOOL WINAPI StartServiceW(SC_HANDLE handle, DWORD argumentCount, LPCWSTR*)
{
    if (argumentCount != 0)
        return fail(ERROR_INVALID_PARAMETER); // arguments are not modelled
    const auto service = serviceWith(handle, SERVICE_START);
    return service && complete(currentMachine().serviceManager().start(service->name));
}

BOOL WINAPI EnumDependentServicesW(SC_HANDLE handle, DWORD serviceState, LPENUM_SERVICE_STATUSW services,
                                   DWORD bufferSize, LPDWORD bytesNeeded, LPDWORD servicesReturned)
{
    const auto service = serviceWith(handle, SERVICE_ENUMERATE_DEPENDENTS);
    if (!service)
        return FALSE;
    if (serviceState == 0 || serviceState & ~static_cast<DWORD>(SERVICE_ACTIVE | SERVICE_INACTIVE))
        return fail(ERROR_INVALID_PARAMETER);
    *servicesReturned = 0;
    *bytesNeeded = 0;
    std::vector<ServiceEntry> entries;
    const DWORD error = currentMachine().serviceManager().dependents(service->name, serviceState, entries);
    if (error != ERROR_SUCCESS)
        return complete(error);
    *bytesNeeded = static_cast<DWORD>(bytesOf(entries));
    if (*bytesNeeded > bufferSize)
        return fail(ERROR_MORE_DATA);
    auto* text = reinterpret_cast<wchar_t*>(services + entries.size());
    for (const ServiceEntry& entry : entries) {
        services->lpServiceName = putText(text, entry.name);
        services->lpDisplayName = putText(text, entry.displayName);
        services->ServiceStatus = shortStatus(entry.status);
        ++services;
    }
    *servicesReturned = static_cast<DWORD>(entries.size());
    return TRUE;
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE object)
{
    return HandleTable::take<ServiceHandleObject>(object) != nullptr;
}
