// The part of the Windows interface that the updater uses, under the names, values and layouts of the genuine
// headers. Where a layout differs in size from 32-bit Windows (wchar_t, pointers), callers use sizeof.
#pragma once

#include <cstdint>
#include <cwchar>

extern "C" {

#define WINAPI
#define CALLBACK
#define NTAPI
#define STDMETHODCALLTYPE

typedef int BOOL;
typedef unsigned int UINT;
typedef std::uint8_t BYTE;
typedef std::uint8_t BOOLEAN;
typedef std::uint16_t WORD;
typedef std::uint16_t USHORT;
typedef std::uint16_t ATOM;
typedef std::uint32_t DWORD;
typedef std::uint32_t ULONG;
typedef std::int32_t LONG;
typedef std::int32_t HRESULT;
typedef std::intptr_t LONG_PTR;
typedef std::uintptr_t UINT_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::uintptr_t SIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef wchar_t WCHAR;
typedef wchar_t* LPWSTR;
typedef const wchar_t* LPCWSTR;
typedef const char* LPCSTR;
typedef void* PVOID;
typedef void* LPVOID;
typedef BOOL* PBOOL;
typedef BYTE* PBYTE;
typedef BYTE* LPBYTE;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;

typedef void* HANDLE;
typedef HANDLE HLOCAL;
typedef PVOID HDEVNOTIFY;
typedef struct HWND__* HWND;
typedef struct HMENU__* HMENU;
typedef struct HICON__* HICON;
typedef HICON HCURSOR;
typedef struct HBRUSH__* HBRUSH;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;

#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define INFINITE 0xffffffff

typedef struct _GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
typedef GUID* LPGUID;
#define REFIID const IID&
#define REFCLSID const CLSID&

// ---- Errors

#define ERROR_SUCCESS 0
#define ERROR_INVALID_FUNCTION 1
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_NO_MORE_FILES 18
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_NOT_SUPPORTED 50
#define ERROR_INVALID_PARAMETER 87
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_MORE_DATA 234
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_CLASS_ALREADY_EXISTS 1410
#define ERROR_CLASS_DOES_NOT_EXIST 1411
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_INVALID_MENU_HANDLE 1401
#define ERROR_INVALID_INDEX 1413
#define ERROR_INVALID_THREAD_ID 1444
#define ERROR_DEVICE_NOT_CONNECTED 1167
#define ERROR_INVALID_USER_BUFFER 1784
#define ERROR_INVALID_DATA 13

// Of services and of COM.
#define ERROR_INVALID_NAME 123
#define ERROR_INVALID_LEVEL 124
#define ERROR_DEPENDENT_SERVICES_RUNNING 1051
#define ERROR_INVALID_SERVICE_CONTROL 1052
#define ERROR_SERVICE_ALREADY_RUNNING 1056
#define ERROR_SERVICE_DOES_NOT_EXIST 1060
#define ERROR_SERVICE_CANNOT_ACCEPT_CTRL 1061
#define ERROR_SERVICE_NOT_ACTIVE 1062
#define ERROR_DATABASE_DOES_NOT_EXIST 1065
#define ERROR_SERVICE_DEPENDENCY_FAIL 1068
#define ERROR_NOT_FOUND 1168
#define RPC_S_SERVER_UNAVAILABLE 1722

#define S_OK ((HRESULT)0x00000000)
#define S_FALSE ((HRESULT)0x00000001)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define CO_E_NOTINITIALIZED ((HRESULT)0x800401F0)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154)
#define E_ACCESSDENIED ((HRESULT)0x80070005)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define HRESULT_FROM_WIN32(x) ((HRESULT)(x) <= 0 ? (HRESULT)(x) : (HRESULT)(((x)&0x0000FFFF) | 0x80070000))
#define SUCCEEDED(hr) ((HRESULT)(hr) >= 0)
#define FAILED(hr) ((HRESULT)(hr) < 0)

DWORD WINAPI GetLastError(void);
void WINAPI SetLastError(DWORD error);

// ---- Handles, events, threads, waiting

#define WAIT_OBJECT_0 0
#define WAIT_TIMEOUT 258
#define WAIT_FAILED ((DWORD)0xffffffff)
#define MAXIMUM_WAIT_OBJECTS 64

typedef struct _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _RTL_CRITICAL_SECTION_DEBUG* PRTL_CRITICAL_SECTION_DEBUG;

typedef struct _RTL_CRITICAL_SECTION
{
    PRTL_CRITICAL_SECTION_DEBUG DebugInfo;
    LONG LockCount;
    LONG RecursionCount;
    HANDLE OwningThread;
    HANDLE LockSemaphore;
    ULONG_PTR SpinCount;
} CRITICAL_SECTION, *LPCRITICAL_SECTION;

typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID parameter);

BOOL WINAPI CloseHandle(HANDLE object);
HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                           LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);
HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD creationFlags, LPDWORD threadId);
DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD timeoutMs);
DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD timeoutMs);
void WINAPI InitializeCriticalSection(LPCRITICAL_SECTION section);
void WINAPI EnterCriticalSection(LPCRITICAL_SECTION section);
void WINAPI LeaveCriticalSection(LPCRITICAL_SECTION section);
void WINAPI DeleteCriticalSection(LPCRITICAL_SECTION section);

// ---- Time

void WINAPI Sleep(DWORD milliseconds);
DWORD WINAPI GetTickCount(void);

// ---- Power

#define ES_SYSTEM_REQUIRED ((DWORD)0x00000001)
#define ES_DISPLAY_REQUIRED ((DWORD)0x00000002)
#define ES_CONTINUOUS ((DWORD)0x80000000)

typedef DWORD EXECUTION_STATE;

EXECUTION_STATE WINAPI SetThreadExecutionState(EXECUTION_STATE state);

// ---- Memory, modules, processes

#define LPTR 0x40
#define PROCESS_VM_READ 0x0010
#define PROCESS_QUERY_INFORMATION 0x0400

typedef LONG_PTR(WINAPI* FARPROC)();

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes);
HLOCAL WINAPI LocalFree(HLOCAL memory);
HMODULE WINAPI GetModuleHandleW(LPCWSTR moduleName);
HMODULE WINAPI LoadLibraryW(LPCWSTR fileName);
BOOL WINAPI FreeLibrary(HMODULE module);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
HANDLE WINAPI GetCurrentProcess(void);
DWORD WINAPI GetCurrentProcessId(void);
HANDLE WINAPI OpenProcess(DWORD desiredAccess, BOOL inheritHandle, DWORD processId);
BOOL WINAPI IsWow64Process(HANDLE process, PBOOL wow64Process);

// ---- Devices as files

#define GENERIC_READ 0x80000000
#define GENERIC_WRITE 0x40000000
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define OPEN_EXISTING 3

typedef struct _OVERLAPPED* LPOVERLAPPED;

HANDLE WINAPI CreateFileW(LPCWSTR fileName, DWORD desiredAccess, DWORD shareMode,
                          LPSECURITY_ATTRIBUTES attributes, DWORD creationDisposition,
                          DWORD flagsAndAttributes, HANDLE templateFile);
BOOL WINAPI DeviceIoControl(HANDLE device, DWORD ioControlCode, LPVOID inBuffer, DWORD inBufferSize,
                            LPVOID outBuffer, DWORD outBufferSize, LPDWORD bytesReturned,
                            LPOVERLAPPED overlapped);

// ---- Windows, messages, menus

#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_QUERYENDSESSION 0x0011
#define WM_QUIT 0x0012
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_SYSCOMMAND 0x0112
#define WM_DEVICECHANGE 0x0219
#define SC_SIZE 0xF000
#define SC_MOVE 0xF010
#define SC_MINIMIZE 0xF020
#define SC_MAXIMIZE 0xF030
#define SC_CLOSE 0xF060
#define SC_RESTORE 0xF120
#define MF_STRING 0x0
#define MF_BYPOSITION 0x400
#define DEVICE_NOTIFY_WINDOW_HANDLE 0x00000000

typedef struct tagPOINT
{
    LONG x;
    LONG y;
} POINT;

typedef struct tagMSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *LPMSG;

typedef LRESULT(CALLBACK* WNDPROC)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

typedef struct tagWNDCLASSW
{
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
    LPCWSTR lpszMenuName;
    LPCWSTR lpszClassName;
} WNDCLASSW, *LPWNDCLASSW;

typedef struct tagCREATESTRUCTW
{
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCWSTR lpszName;
    LPCWSTR lpszClass;
    DWORD dwExStyle;
} CREATESTRUCTW;

BOOL WINAPI GetClassInfoW(HINSTANCE instance, LPCWSTR className, LPWNDCLASSW windowClass);
ATOM WINAPI RegisterClassW(const WNDCLASSW* windowClass);
HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style, int x, int y,
                            int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                            LPVOID parameter);
BOOL WINAPI DestroyWindow(HWND window);
LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index);
LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT filterMin, UINT filterMax);
LRESULT WINAPI DispatchMessageW(const MSG* message);
BOOL WINAPI PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam);
HDEVNOTIFY WINAPI RegisterDeviceNotificationW(HANDLE recipient, LPVOID filter, DWORD flags);
BOOL WINAPI UnregisterDeviceNotification(HDEVNOTIFY handle);
HMENU WINAPI GetSystemMenu(HWND window, BOOL revert);
int WINAPI GetMenuItemCount(HMENU menu);
UINT WINAPI GetMenuItemID(HMENU menu, int position);
BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason);
BOOL WINAPI ShutdownBlockReasonDestroy(HWND window);
BOOL WINAPI InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR newItemId, LPCWSTR newItem);

// ---- C runtime; the genuine <wchar.h> declares it

int _wcsicmp(const wchar_t* a, const wchar_t* b);
}

inline bool operator==(const GUID& a, const GUID& b)
{
    return __builtin_memcmp(&a, &b, sizeof(GUID)) == 0;
}
inline bool operator!=(const GUID& a, const GUID& b)
{
    return !(a == b);
}

#include <winsvc.h>
