// Implements the Windows functions for services. These functions act on the current machine's services.

#include <windows.h>

#include <winsvc.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "handletable.h"
#include "lasterror.h"
#include "simulatedservicemanager.h"

namespace {

/// Base class of the objects that CloseServiceHandle closes.
class ServiceHandleObject : public HandleObject
{
};

class ManagerObject : public ServiceHandleObject
{
};

struct Service
{
    std::wstring name;
    DWORD access;
};
using ServiceObject = ObjectWith<ServiceHandleObject, Service>;

/// @return the service that @p handle refers to. If the handle does not refer to a service, or was opened
/// without @p access, sets the last error and returns null.
std::shared_ptr<ServiceObject> serviceWith(SC_HANDLE handle, DWORD access)
{
    auto service = HandleTable::get<ServiceObject>(handle);
    if (service && !(service->access & access))
        return fail(ERROR_ACCESS_DENIED);
    return service;
}

std::size_t textBytes(const std::wstring& text)
{
    return (text.size() + 1) * sizeof(wchar_t);
}

} // namespace

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machineName, LPCWSTR databaseName, DWORD desiredAccess)
{
    if (machineName || databaseName)
        return fail(ERROR_INVALID_PARAMETER); // other computers and databases are not modelled
    if (!isSuccess(currentMachine().services->openManager(desiredAccess)))
        return nullptr;
    return static_cast<SC_HANDLE>(HandleTable::add(std::make_shared<ManagerObject>()));
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE handle, LPCWSTR serviceName, DWORD desiredAccess)
{
    // Does not check for SC_MANAGER_CONNECT, because every handle to the manager has this right.
    if (!HandleTable::get<ManagerObject>(handle))
        return nullptr;
    if (!isSuccess(currentMachine().services->openService(serviceName, desiredAccess)))
        return nullptr;
    return static_cast<SC_HANDLE>(
        HandleTable::add(std::make_shared<ServiceObject>(Service{serviceName, desiredAccess})));
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
    if (!isSuccess(currentMachine().services->queryStatus(service->name, status)))
        return FALSE;
    std::memcpy(buffer, &status, sizeof(status));
    return TRUE;
}

BOOL WINAPI ControlService(SC_HANDLE handle, DWORD control, LPSERVICE_STATUS serviceStatus)
{
    if (control != SERVICE_CONTROL_STOP)
        return fail(ERROR_INVALID_PARAMETER); // no other control is modelled
    const auto service = serviceWith(handle, SERVICE_STOP);
    if (!service)
        return FALSE;
    SERVICE_STATUS_PROCESS status = {};
    if (!isSuccess(currentMachine().services->stop(service->name, status)))
        return FALSE;
    // SERVICE_STATUS_PROCESS starts with the members of SERVICE_STATUS.
    std::memcpy(serviceStatus, &status, sizeof(*serviceStatus));
    return TRUE;
}

BOOL WINAPI StartServiceW(SC_HANDLE handle, DWORD argumentCount, LPCWSTR*)
{
    if (argumentCount != 0)
        return fail(ERROR_INVALID_PARAMETER); // arguments are not modelled
    const auto service = serviceWith(handle, SERVICE_START);
    return service && isSuccess(currentMachine().services->start(service->name));
}

BOOL WINAPI EnumDependentServicesW(SC_HANDLE handle, DWORD serviceState, LPENUM_SERVICE_STATUSW services,
                                   DWORD bufferSize, LPDWORD bytesNeeded, LPDWORD servicesReturned)
{
    const auto service = serviceWith(handle, SERVICE_ENUMERATE_DEPENDENTS);
    if (!service)
        return FALSE;
    if (serviceState != SERVICE_ACTIVE)
        return fail(ERROR_INVALID_PARAMETER); // lists of stopped services are not modelled
    *servicesReturned = 0;
    *bytesNeeded = 0;
    std::vector<std::wstring> names;
    if (!isSuccess(currentMachine().services->runningDependents(service->name, names)))
        return FALSE;
    for (const std::wstring& name : names)
        *bytesNeeded += static_cast<DWORD>(sizeof(*services) + textBytes(name));
    if (*bytesNeeded > bufferSize)
        return fail(ERROR_MORE_DATA);
    auto* text = reinterpret_cast<wchar_t*>(services + names.size());
    for (const std::wstring& name : names) {
        std::memcpy(text, name.c_str(), textBytes(name));
        *services++ = {text, text, {}}; // the display name equals the name; the status is not modelled
        text += name.size() + 1;
    }
    *servicesReturned = static_cast<DWORD>(names.size());
    return TRUE;
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE object)
{
    return HandleTable::take<ServiceHandleObject>(object) != nullptr;
}
