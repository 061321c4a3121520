#include "devicetree.h"

#include <algorithm>
#include <cwctype>
#include <mutex>

struct DeviceTree::Present
{
    std::wstring key; ///< the interface path in lower case
    std::shared_ptr<const DeviceNode> node;
    bool isConnected = true;
};

struct DeviceTree::State
{
    auto position(const std::wstring& path)
    {
        return std::find_if(present.begin(), present.end(),
                            [key = enumeratedPath(path)](const auto& p) { return p->key == key; });
    }

    std::mutex mutex; ///< guards the members below; never held while an observer is called
    std::vector<std::shared_ptr<Present>> present;
    std::vector<const DeviceFile*> files;
    std::vector<std::weak_ptr<DeviceTreeObserver>> observers;
};

namespace {

bool allows(DWORD share, DWORD access)
{
    return (!(access & GENERIC_READ) || (share & FILE_SHARE_READ)) &&
           (!(access & GENERIC_WRITE) || (share & FILE_SHARE_WRITE));
}

/// Whether two files with these modes may be open on one node at the same time. A file without any access,
/// which serves queries, does not conflict with other files.
bool agree(const ShareMode& a, const ShareMode& b)
{
    return a.access == 0 || b.access == 0 || (allows(a.share, b.access) && allows(b.share, a.access));
}

} // namespace

std::wstring enumeratedPath(std::wstring interfacePath)
{
    std::transform(interfacePath.begin(), interfacePath.end(), interfacePath.begin(),
                   [](wchar_t c) { return std::towlower(c); });
    return interfacePath;
}

DeviceTree::DeviceTree()
    : state(std::make_shared<State>())
{
}

std::vector<std::shared_ptr<const DeviceNode>> DeviceTree::presentNodes(const GUID& interfaceClass)
{
    start();
    const std::lock_guard<std::mutex> guard(state->mutex);
    std::vector<std::shared_ptr<const DeviceNode>> nodes;
    nodes.reserve(state->present.size());
    for (const auto& present : state->present) {
        if (present->node->interfaceClass == interfaceClass)
            nodes.push_back(present->node);
    }
    return nodes;
}

std::unique_ptr<DeviceFile> DeviceTree::open(const std::wstring& path, DWORD access, DWORD share,
                                             DWORD& error)
{
    start();
    const std::lock_guard<std::mutex> guard(state->mutex);
    const auto found = state->position(path);
    const ShareMode mode{access, share};
    error = ERROR_SUCCESS;
    if (found == state->present.end())
        error = ERROR_FILE_NOT_FOUND;
    else if (std::any_of(state->files.begin(), state->files.end(), [&](const DeviceFile* other) {
                 return other->present == *found && !agree(other->mode, mode);
             }))
        error = ERROR_SHARING_VIOLATION;
    else if ((*found)->node->hid)
        error = (*found)->node->hid->open(mode);
    return error == ERROR_SUCCESS ? std::make_unique<DeviceFile>(state, *found, mode) : nullptr;
}

void DeviceTree::observe(const std::shared_ptr<DeviceTreeObserver>& observer)
{
    start();
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->observers.push_back(observer);
}

std::shared_ptr<const DeviceNode> DeviceTree::add(DeviceNode node)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    if (state->position(node.interfacePath) != state->present.end())
        return nullptr;
    auto present = std::make_shared<Present>();
    present->key = enumeratedPath(node.interfacePath);
    present->node = std::make_shared<const DeviceNode>(std::move(node));
    state->present.push_back(present);
    return present->node;
}

std::shared_ptr<const DeviceNode> DeviceTree::remove(const std::wstring& path)
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    const auto found = state->position(path);
    if (found == state->present.end())
        return nullptr;
    (*found)->isConnected = false;
    auto node = (*found)->node;
    state->present.erase(found);
    return node;
}

std::shared_ptr<const DeviceNode> DeviceTree::find(const std::wstring& path) const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    const auto found = state->position(path);
    return found == state->present.end() ? nullptr : (*found)->node;
}

std::size_t DeviceTree::countOpenFiles(const DeviceNode* node) const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    const auto isOnNode = [node](const DeviceFile* file) { return !node || &file->node() == node; };
    return static_cast<std::size_t>(std::count_if(state->files.begin(), state->files.end(), isOnNode));
}

std::vector<std::shared_ptr<DeviceTreeObserver>> DeviceTree::listening() const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    auto& all = state->observers;
    all.erase(std::remove_if(all.begin(), all.end(), [](const auto& o) { return o.expired(); }), all.end());
    std::vector<std::shared_ptr<DeviceTreeObserver>> observers;
    for (const auto& observer : all) {
        if (auto held = observer.lock())
            observers.push_back(std::move(held));
    }
    return observers;
}

DeviceFile::DeviceFile(std::shared_ptr<DeviceTree::State> treeState,
                       std::shared_ptr<DeviceTree::Present> opened, const ShareMode& shareMode)
    : state(std::move(treeState))
    , present(std::move(opened))
    , mode(shareMode)
{
    state->files.push_back(this);
}

DeviceFile::~DeviceFile()
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->files.erase(std::find(state->files.begin(), state->files.end(), this));
    if (present->node->hid)
        present->node->hid->close();
}

const DeviceNode& DeviceFile::node() const
{
    return *present->node;
}

bool DeviceFile::isConnected() const
{
    const std::lock_guard<std::mutex> guard(state->mutex);
    return present->isConnected && (!present->node->hid || present->node->hid->isConnected());
}
