// What the genuine headers say of the identifiers that sources write themselves. Only compiled, behind those
// sources' constants, which stand in namespaces named after the files.

constexpr bool areSame(const GUID& a, const GUID& b)
{
    for (int i = 0; i < 8; ++i) {
        if (a.Data4[i] != b.Data4[i])
            return false;
    }
    return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
}
constexpr bool areSame(const PROPERTYKEY& a, const PROPERTYKEY& b)
{
    return areSame(a.fmtid, b.fmtid) && a.pid == b.pid;
}

static_assert(areSame(devicetree::hidInterfaceClass, GUID_DEVINTERFACE_HID));
static_assert(areSame(interfaceclass::usbDeviceInterfaceClass, GUID_DEVINTERFACE_USB_DEVICE));
static_assert(areSame(ole32::unknownInterface, __uuidof(IUnknown)));
static_assert(areSame(ole32::enumeratorClass, __uuidof(MMDeviceEnumerator)));
static_assert(areSame(ole32::enumeratorInterface, __uuidof(IMMDeviceEnumerator)));
static_assert(areSame(ole32::collectionInterface, __uuidof(IMMDeviceCollection)));
static_assert(areSame(ole32::deviceInterface, __uuidof(IMMDevice)));
static_assert(areSame(ole32::propertyStoreInterface, __uuidof(IPropertyStore)));
static_assert(areSame(ole32::interfaceFriendlyName, PKEY_DeviceInterface_FriendlyName));
static_assert(areSame(audioendpointskeeper::unknownInterface, __uuidof(IUnknown)));
static_assert(areSame(audioendpointskeeper::enumeratorClass, __uuidof(MMDeviceEnumerator)));
static_assert(areSame(audioendpointskeeper::enumeratorInterface, __uuidof(IMMDeviceEnumerator)));
static_assert(areSame(audioendpointskeeper::adapterFriendlyName, PKEY_DeviceInterface_FriendlyName));

// No header declares these: product and layer agree.
static_assert(areSame(ole32::policyConfigurationClass, audioendpointskeeper::policyConfigurationClass));
static_assert(areSame(ole32::policyConfigurationInterface,
                      audioendpointskeeper::policyConfigurationInterface));
