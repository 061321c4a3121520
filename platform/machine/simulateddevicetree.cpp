#include "simulateddevicetree.h"

#include <algorithm>
#include <deque>

#include "sharemode.h"

namespace {

constexpr std::size_t openingsKept = 256; // a long run's memory stays flat

} // namespace

struct SimulatedDeviceTree::State
{
    struct Present
    {
        std::wstring key;
        std::shared_ptr<const DeviceNode> node;
        bool connected = true;
        std::vector<const File*> files;
    };
    struct Refusal
    {
        DWORD error;
        int count;
    };

    explicit State(Clock& machineClock)
        : clock(machineClock)
    {
    }

    std::shared_ptr<Present> find(const std::wstring& path)
    {
        const std::wstring key = enumeratedPath(path);
        const auto it =
            std::find_if(present.begin(), present.end(), [&](const auto& p) { return p->key == key; });
        return it == present.end() ? nullptr : *it;
    }

    Clock& clock;
    std::mutex events;     ///< held while an event is made and reported; taken before `mutex`
    Broadcasts broadcasts; ///< guarded by `events`
    std::mutex mutex;      ///< guards everything below
    std::condition_variable settled;
    bool installationPending = false;
    std::vector<std::shared_ptr<Present>> present;
    std::vector<std::weak_ptr<DeviceTreeObserver>> observers;
    std::map<std::wstring, Refusal> refusals;
    std::deque<Opening> openings;
    std::size_t openFiles = 0;
};

class SimulatedDeviceTree::File : public DeviceFile
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
        auto& files = present->files;
        files.erase(std::remove(files.begin(), files.end(), this), files.end());
        --state->openFiles;
    }

    const DeviceNode& node() const override { return *present->node; }

    bool isConnected() const override
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        return present->connected;
    }

    const ShareMode mode;

private:
    std::shared_ptr<State> state;
    std::shared_ptr<State::Present> present;
};

SimulatedDeviceTree::SimulatedDeviceTree(Clock& clock)
    : state(std::make_shared<State>(clock))
{
}

SimulatedDeviceTree::~SimulatedDeviceTree() = default;

void SimulatedDeviceTree::setBroadcasts(const Broadcasts& choice)
{
    const std::lock_guard<std::mutex> event(state->events);
    state->broadcasts = choice;
}

std::vector<std::shared_ptr<DeviceTreeObserver>> SimulatedDeviceTree::listening()
{
    std::vector<std::shared_ptr<DeviceTreeObserver>> observers;
    const std::lock_guard<std::mutex> guard(state->mutex);
    auto& all = state->observers;
    all.erase(std::remove_if(all.begin(), all.end(), [](const auto& o) { return o.expired(); }), all.end());
    for (const auto& observer : all) {
        if (auto held = observer.lock())
            observers.push_back(std::move(held));
    }
    std::stable_partition(observers.begin(), observers.end(),
                          [this](const auto& o) { return o->watchesFile() == state->broadcasts.filesFirst; });
    return observers;
}

template <typename Report>
void SimulatedDeviceTree::reportToObservers(Report report)
{
    for (const auto& observer : listening()) {
        if (state->broadcasts.changesFirst)
            observer->treeChanges();
        report(*observer);
    }
}

SimulatedDeviceTree::Handled SimulatedDeviceTree::reportRemoval(const DeviceNode& node)
{
    Handled handled;
    for (int i = 0; i < state->broadcasts.removals; ++i)
        reportToObservers([&](DeviceTreeObserver& observer) { handled.push_back(observer.removed(node)); });
    return handled;
}

void SimulatedDeviceTree::plug(DeviceNode node)
{
    const std::lock_guard<std::mutex> event(state->events);
    auto present = std::make_shared<State::Present>();
    present->key = enumeratedPath(node.interfacePath);
    present->node = std::make_shared<const DeviceNode>(std::move(node));
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        if (state->find(present->key))
            return;
        state->present.push_back(present);
    }
    reportToObservers([&](DeviceTreeObserver& observer) { observer.arrived(*present->node); });
}

void SimulatedDeviceTree::unplug(const std::wstring& path)
{
    pullOut(path);
}

void SimulatedDeviceTree::unplugAndWait(const std::wstring& path)
{
    for (const std::future<void>& handled : pullOut(path))
        handled.wait();
}

SimulatedDeviceTree::Handled SimulatedDeviceTree::pullOut(const std::wstring& path)
{
    const std::lock_guard<std::mutex> event(state->events);
    std::shared_ptr<State::Present> gone;
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        gone = state->find(path);
        if (!gone)
            return {};
        gone->connected = false;
        auto& all = state->present;
        all.erase(std::remove(all.begin(), all.end(), gone), all.end());
    }
    return reportRemoval(*gone->node);
}

bool SimulatedDeviceTree::requestRemoval(const std::wstring& path)
{
    std::shared_ptr<State::Present> asked;
    {
        const std::lock_guard<std::mutex> event(state->events);
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            asked = state->find(path);
        }
        if (!asked)
            return false;
        reportToObservers([&](DeviceTreeObserver& observer) { observer.removalQueried(*asked->node); });
        bool inUse = false;
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            inUse = !asked->files.empty();
        }
        if (inUse) {
            reportToObservers([&](DeviceTreeObserver& observer) { observer.removalCancelled(*asked->node); });
            return false;
        }
    }
    unplug(path);
    return true;
}

void SimulatedDeviceTree::setInstallationPending(bool pending)
{
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        state->installationPending = pending;
    }
    state->settled.notify_all();
}

void SimulatedDeviceTree::refuseOpen(const std::wstring& path, DWORD error, int count)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->refusals[enumeratedPath(path)] = {error, count};
}

void SimulatedDeviceTree::repeatArrival(const std::wstring& path)
{
    const std::lock_guard<std::mutex> event(state->events);
    std::shared_ptr<State::Present> present;
    {
        const std::lock_guard<std::mutex> guard(state->mutex);
        present = state->find(path);
    }
    if (present)
        reportToObservers([&](DeviceTreeObserver& observer) { observer.arrived(*present->node); });
}

std::vector<SimulatedDeviceTree::Opening> SimulatedDeviceTree::openings() const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    return {state->openings.begin(), state->openings.end()};
}

std::size_t SimulatedDeviceTree::openFileCount() const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->openFiles;
}

std::vector<std::shared_ptr<const DeviceNode>> SimulatedDeviceTree::presentNodes(const GUID& interfaceClass)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    std::vector<std::shared_ptr<const DeviceNode>> nodes;
    nodes.reserve(state->present.size());
    for (const auto& present : state->present) {
        if (present->node->interfaceClass == interfaceClass)
            nodes.push_back(present->node);
    }
    return nodes;
}

std::unique_ptr<DeviceFile> SimulatedDeviceTree::open(const std::wstring& path, DWORD access, DWORD share,
                                                      DWORD& error)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    const auto present = state->find(path);
    const ShareMode mode{access, share};
    const auto refusal = state->refusals.find(enumeratedPath(path));
    error = ERROR_SUCCESS;
    if (!present) {
        error = ERROR_FILE_NOT_FOUND;
    } else if (refusal != state->refusals.end() && refusal->second.count > 0) {
        --refusal->second.count;
        error = refusal->second.error;
    } else if (std::any_of(present->files.begin(), present->files.end(),
                           [&](const File* other) { return !other->mode.admits(mode); })) {
        error = ERROR_SHARING_VIOLATION;
    }
    state->openings.push_back({path, access, share, error});
    if (state->openings.size() > openingsKept)
        state->openings.pop_front();
    if (error != ERROR_SUCCESS)
        return nullptr;
    auto file = std::make_unique<File>(state, present, mode);
    present->files.push_back(file.get());
    ++state->openFiles;
    return file;
}

bool SimulatedDeviceTree::waitInstallationSettled(DWORD timeoutMs)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    return state->clock.waitFor(lock, state->settled, timeoutMs,
                                [this] { return !state->installationPending; });
}

void SimulatedDeviceTree::observe(const std::shared_ptr<DeviceTreeObserver>& observer)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->observers.push_back(observer);
}
