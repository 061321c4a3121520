// The service control manager.
#pragma once

#include <windows.h>

extern "C" {

#define SC_MANAGER_CONNECT 0x0001
#define SC_MANAGER_ALL_ACCESS 0xF003F

#define SERVICE_QUERY_STATUS 0x0004
#define SERVICE_ENUMERATE_DEPENDENTS 0x0008
#define SERVICE_START 0x0010
#define SERVICE_STOP 0x0020
#define SERVICE_ALL_ACCESS 0xF01FF

#define SERVICE_ACTIVE 0x00000001
#define SERVICE_INACTIVE 0x00000002

#define SERVICE_CONTROL_STOP 0x00000001

#define SERVICE_STOPPED 0x00000001
#define SERVICE_START_PENDING 0x00000002
#define SERVICE_STOP_PENDING 0x00000003
#define SERVICE_RUNNING 0x00000004

#define SERVICE_ACCEPT_STOP 0x00000001

#define SERVICE_WIN32_SHARE_PROCESS 0x00000020
#define SERVICES_ACTIVE_DATABASEW L"ServicesActive"

typedef struct SC_HANDLE__* SC_HANDLE;

typedef enum _SC_STATUS_TYPE { SC_STATUS_PROCESS_INFO = 0 } SC_STATUS_TYPE;

typedef struct _SERVICE_STATUS
{
    DWORD dwServiceType;
    DWORD dwCurrentState;
    DWORD dwControlsAccepted;
    DWORD dwWin32ExitCode;
    DWORD dwServiceSpecificExitCode;
    DWORD dwCheckPoint;
    DWORD dwWaitHint;
} SERVICE_STATUS, *LPSERVICE_STATUS;

typedef struct _SERVICE_STATUS_PROCESS
{
    DWORD dwServiceType;
    DWORD dwCurrentState;
    DWORD dwControlsAccepted;
    DWORD dwWin32ExitCode;
    DWORD dwServiceSpecificExitCode;
    DWORD dwCheckPoint;
    DWORD dwWaitHint;
    DWORD dwProcessId;
    DWORD dwServiceFlags;
} SERVICE_STATUS_PROCESS;

typedef struct _ENUM_SERVICE_STATUSW
{
    LPWSTR lpServiceName;
    LPWSTR lpDisplayName;
    SERVICE_STATUS ServiceStatus;
} ENUM_SERVICE_STATUSW, *LPENUM_SERVICE_STATUSW;

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machineName, LPCWSTR databaseName, DWORD desiredAccess);
SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR serviceName, DWORD desiredAccess);
BOOL WINAPI QueryServiceStatusEx(SC_HANDLE service, SC_STATUS_TYPE infoLevel, LPBYTE buffer, DWORD bufferSize,
                                 LPDWORD bytesNeeded);
BOOL WINAPI ControlService(SC_HANDLE service, DWORD control, LPSERVICE_STATUS serviceStatus);
BOOL WINAPI StartServiceW(SC_HANDLE service, DWORD argumentCount, LPCWSTR* arguments);
BOOL WINAPI EnumDependentServicesW(SC_HANDLE service, DWORD serviceState, LPENUM_SERVICE_STATUSW services,
                                   DWORD bufferSize, LPDWORD bytesNeeded, LPDWORD servicesReturned);
BOOL WINAPI CloseServiceHandle(SC_HANDLE object);
}
