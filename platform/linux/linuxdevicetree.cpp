#include "linuxdevicetree.h"

#include <algorithm>
#include <filesystem>
#include <mutex>

#include "hidrawinterface.h"
#include "sharemode.h"
#include "udevmonitor.h"

namespace {

std::string textOf(const std::wstring& text)
{
    return std::filesystem::path(text).string();
}

HidrawDevice::Lock lockFor(const ShareMode& mode)
{
    if (mode.access == 0)
        return HidrawDevice::Lock::None;
    return mode.share & FILE_SHARE_WRITE ? HidrawDevice::Lock::Shared : HidrawDevice::Lock::Exclusive;
}

} // namespace

struct LinuxDeviceTree::State
{
    struct Present
    {
        std::string systemPath;
        std::wstring key;
        std::shared_ptr<const DeviceNode> node;
        std::shared_ptr<HidrawDevice> device;
        bool isDenialTold = false;
        std::vector<const File*> openFiles;
    };

    void arrived(const HidrawInterface& interface);
    void left(const std::string& systemPath);
    std::vector<std::shared_ptr<DeviceTreeObserver>> listening();
    std::shared_ptr<Present> find(const std::wstring& path);
    static DWORD admit(const Present& wanted, const ShareMode& mode);
    void tellDenial(Present& denied);

    std::function<void(const std::string&)> log;
    std::once_flag start;
    std::mutex mutex; ///< guards what follows; never held while an observer or the log is called
    std::vector<std::shared_ptr<Present>> present;
    std::vector<std::weak_ptr<DeviceTreeObserver>> observers;
    std::unique_ptr<UdevMonitor> monitor;
};

class LinuxDeviceTree::File : public DeviceFile
{
public:
    File(std::shared_ptr<State> treeState, std::shared_ptr<State::Present> opened, const ShareMode& shareMode)
        : mode(shareMode)
        , state(std::move(treeState))
        , present(std::move(opened))
    {
    }

    ~File() override
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        auto& files = present->openFiles;
        files.erase(std::remove(files.begin(), files.end(), this), files.end());
        present->device->release();
    }

    const DeviceNode& node() const override { return *present->node; }
    bool isConnected() const override { return present->device->isConnected(); }

    const ShareMode mode;

private:
    const std::shared_ptr<State> state;
    const std::shared_ptr<State::Present> present;
};

void LinuxDeviceTree::State::arrived(const HidrawInterface& interface)
{
    const auto descriptor =
        ReportDescriptor::parse(interface.reportDescriptor.data(), interface.reportDescriptor.size());
    const auto device = std::make_shared<HidrawDevice>(interface.devicePath);
    std::vector<std::shared_ptr<Present>> added;
    for (DeviceNode& node : nodesOf(interface, descriptor, device)) {
        auto newcomer = std::make_shared<Present>();
        newcomer->systemPath = interface.systemPath;
        newcomer->key = enumeratedPath(node.interfacePath);
        newcomer->node = std::make_shared<const DeviceNode>(std::move(node));
        newcomer->device = device;
        const std::lock_guard<std::mutex> guard(mutex);
        if (find(newcomer->key))
            return;
        present.push_back(newcomer);
        added.push_back(newcomer);
    }
    if (!added.empty() && !descriptor.fault.empty())
        log("The report descriptor of " + textOf(added.front()->node->instanceId) + " " + descriptor.fault);
    for (const auto& newcomer : added) {
        for (const auto& observer : listening())
            observer->arrived(*newcomer->node);
    }
}

void LinuxDeviceTree::State::left(const std::string& systemPath)
{
    std::vector<std::shared_ptr<Present>> gone;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto firstGone = std::stable_partition(
            present.begin(), present.end(), [&](const auto& p) { return p->systemPath != systemPath; });
        gone.assign(firstGone, present.end());
        present.erase(firstGone, present.end());
    }
    for (const auto& former : gone) {
        for (const auto& observer : listening())
            static_cast<void>(observer->removed(*former->node)); // the device does not wait for its users
    }
}

std::vector<std::shared_ptr<DeviceTreeObserver>> LinuxDeviceTree::State::listening()
{
    const std::lock_guard<std::mutex> guard(mutex);
    observers.erase(
        std::remove_if(observers.begin(), observers.end(), [](const auto& o) { return o.expired(); }),
        observers.end());
    std::vector<std::shared_ptr<DeviceTreeObserver>> held;
    for (const auto& observer : observers) {
        if (auto alive = observer.lock())
            held.push_back(std::move(alive));
    }
    return held;
}

/// The mutex is held.
std::shared_ptr<LinuxDeviceTree::State::Present> LinuxDeviceTree::State::find(const std::wstring& path)
{
    const std::wstring key = enumeratedPath(path);
    const auto found =
        std::find_if(present.begin(), present.end(), [&](const auto& p) { return p->key == key; });
    return found == present.end() ? nullptr : *found;
}

/// Whether the sharing rules and the system let the node be opened so; the mutex is held.
/// @return 0, its device then having one user more, or a Windows error code.
DWORD LinuxDeviceTree::State::admit(const Present& wanted, const ShareMode& mode)
{
    const auto& others = wanted.openFiles;
    if (std::any_of(others.begin(), others.end(),
                    [&](const File* other) { return !other->mode.admits(mode); }))
        return ERROR_SHARING_VIOLATION;
    return wanted.device->acquire(lockFor(mode));
}

/// Once for each node.
void LinuxDeviceTree::State::tellDenial(Present& denied)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (std::exchange(denied.isDenialTold, true))
            return;
    }
    log("You may not open " + denied.device->path + ", which is " + textOf(denied.node->instanceId) +
        ". Install this program's package, whose udev rule lets you, and plug the device in again.");
}

LinuxDeviceTree::LinuxDeviceTree(std::function<void(const std::string&)> log)
    : state(std::make_shared<State>())
{
    state->log = std::move(log);
}

LinuxDeviceTree::~LinuxDeviceTree()
{
    state->monitor.reset();
}

std::vector<std::shared_ptr<const DeviceNode>> LinuxDeviceTree::presentNodes(const GUID& interfaceClass)
{
    State& tree = started();
    std::vector<std::shared_ptr<const DeviceNode>> nodes;
    const std::lock_guard<std::mutex> guard(tree.mutex);
    for (const auto& present : tree.present) {
        if (present->node->interfaceClass == interfaceClass)
            nodes.push_back(present->node);
    }
    return nodes;
}

std::unique_ptr<DeviceFile> LinuxDeviceTree::open(const std::wstring& path, DWORD access, DWORD share,
                                                  DWORD& error)
{
    State& tree = started();
    const ShareMode mode{access, share};
    std::shared_ptr<State::Present> present;
    {
        const std::lock_guard<std::mutex> guard(tree.mutex);
        present = tree.find(path);
        error = present ? State::admit(*present, mode) : ERROR_FILE_NOT_FOUND;
        if (error == ERROR_SUCCESS) {
            auto file = std::make_unique<File>(state, present, mode);
            present->openFiles.push_back(file.get());
            return file;
        }
    }
    if (error == ERROR_ACCESS_DENIED)
        tree.tellDenial(*present);
    return nullptr;
}

bool LinuxDeviceTree::waitInstallationSettled(DWORD)
{
    return true;
}

void LinuxDeviceTree::observe(const std::shared_ptr<DeviceTreeObserver>& observer)
{
    State& tree = started();
    const std::lock_guard<std::mutex> guard(tree.mutex);
    tree.observers.push_back(observer);
}

LinuxDeviceTree::State& LinuxDeviceTree::started()
{
    std::call_once(state->start, [this] {
        std::string problem;
        const UdevMonitor::Listener listener{
            [tree = state.get()](const HidrawInterface& interface) { tree->arrived(interface); },
            [tree = state.get()](const std::string& systemPath) { tree->left(systemPath); }};
        state->monitor = std::make_unique<UdevMonitor>(listener, problem);
        if (!problem.empty())
            state->log("No device can be seen: " + problem + ".");
    });
    return *state;
}
