// Lets the endpoints keeper record and restore the default audio endpoints of a system where the
// default-endpoint policy object is not registered, and prints the defaults before and after. Exit status 0
// where they are the same.
#include <cstdio>
#include <string>

#include <windows.h>

#include <initguid.h>
#include <mmdeviceapi.h>

#include "audioendpointskeeper.h"

namespace {

constexpr CLSID policyClass{0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};

bool policyIsRegistered()
{
    IUnknown* policy = nullptr;
    const HRESULT result =
        CoCreateInstance(policyClass, nullptr, CLSCTX_ALL, IID_IUnknown, reinterpret_cast<void**>(&policy));
    if (policy)
        policy->Release();
    return result != REGDB_E_CLASSNOTREG;
}

std::wstring defaultEndpoint(IMMDeviceEnumerator& enumerator, EDataFlow flow, ERole role)
{
    IMMDevice* device = nullptr;
    if (FAILED(enumerator.GetDefaultAudioEndpoint(flow, role, &device)))
        return L"none";
    wchar_t* identifier = nullptr;
    std::wstring text = L"unnamed";
    if (SUCCEEDED(device->GetId(&identifier)))
        text = identifier;
    CoTaskMemFree(identifier);
    device->Release();
    return text;
}

std::wstring defaultEndpoints()
{
    IMMDeviceEnumerator* enumerator = nullptr;
    if (FAILED(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_ALL, IID_IMMDeviceEnumerator,
                                reinterpret_cast<void**>(&enumerator))))
        return {};
    std::wstring text;
    for (const EDataFlow flow : {eRender, eCapture}) {
        for (const ERole role : {eConsole, eMultimedia, eCommunications})
            text += defaultEndpoint(*enumerator, flow, role) + L'\n';
    }
    enumerator->Release();
    return text;
}

} // namespace

int wmain()
{
    CoInitialize(nullptr);
    if (policyIsRegistered()) {
        std::printf("The policy object is registered here.\n");
        return 1;
    }
    const std::wstring before = defaultEndpoints();
    {
        AudioEndpointsKeeper keeper;
        keeper.restore();
    }
    const std::wstring after = defaultEndpoints();
    std::printf("before:\n%ls\nafter:\n%ls", before.c_str(), after.c_str());
    CoUninitialize();
    return !before.empty() && before == after ? 0 : 1;
}
