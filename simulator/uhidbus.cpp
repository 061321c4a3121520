#include "uhidbus.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <linux/uhid.h>
#include <poll.h>
#include <unistd.h>

#include "hiddescriptor.h"

namespace {

constexpr char devicePath[] = "/dev/uhid";
constexpr std::uint32_t deviceVersion = 0x0100;
constexpr std::chrono::milliseconds answerTime(100);
constexpr int lookIntervalMs = 100; // a thread ends up to this long after its interface

template <std::size_t Size>
void copyText(const std::string& text, __u8 (&field)[Size])
{
    std::memcpy(field, text.c_str(), std::min(text.size() + 1, Size - 1));
}

} // namespace

/// One interface in the kernel. The kernel removes the interface when `file` is closed.
class UhidBus::Attached
{
public:
    Attached(const BusDevice& device, const HidInterface& hidInterface)
        : interface(hidInterface)
        , file(::open(devicePath, O_RDWR | O_CLOEXEC))
    {
        uhid_event event = {};
        event.type = UHID_CREATE2;
        uhid_create2_req& request = event.u.create2;
        const std::vector<std::uint8_t> descriptor = reportDescriptorOf(interface);
        copyText(device.name, request.name);
        // The kernel's own USB driver uses names of this form.
        copyText("usb-simulated-" + std::to_string(device.port) + "/input" +
                     std::to_string(interface.number.value_or(0)),
                 request.phys);
        request.bus = BUS_USB;
        request.vendor = device.vendorId;
        request.product = device.productId;
        request.version = deviceVersion;
        request.rd_size = static_cast<__u16>(descriptor.size());
        std::copy(descriptor.begin(), descriptor.end(), request.rd_data);
        send(event);
    }

    ~Attached() { ::close(file); }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;

    void leave()
    {
        isGone = true;
        uhid_event event = {};
        event.type = UHID_DESTROY;
        send(event);
    }

    /// Serves reports until the interface is gone.
    void run()
    {
        uhid_event event = {};
        while (!isGone) {
            pollfd polled{file, POLLIN, 0};
            if (::poll(&polled, 1, lookIntervalMs) <= 0)
                continue;
            if (::read(file, &event, sizeof(event)) <= 0)
                return;
            if (event.type == UHID_SET_REPORT)
                take(event.u.set_report);
            else if (event.type == UHID_GET_REPORT)
                answer(event.u.get_report);
        }
    }

private:
    void take(const uhid_set_report_req& request)
    {
        uhid_event reply = {};
        reply.type = UHID_SET_REPORT_REPLY;
        reply.u.set_report_reply.id = request.id;
        reply.u.set_report_reply.err = EIO;
        if (request.rtype == UHID_FEATURE_REPORT && interface.serves)
            reply.u.set_report_reply.err = errorOf(interface.serves->set(request.data, request.size));
        send(reply);
    }

    void answer(const uhid_get_report_req& request)
    {
        uhid_event reply = {};
        reply.type = UHID_GET_REPORT_REPLY;
        uhid_get_report_reply_req& report = reply.u.get_report_reply;
        report.id = request.id;
        report.err = EIO;
        const std::size_t bytes = reportBytes(request.rnum);
        if (request.rtype == UHID_FEATURE_REPORT && interface.serves && bytes > 0) {
            report.data[0] = request.rnum;
            std::size_t received = 0;
            report.err = errorOf(interface.serves->get(report.data, bytes, received));
            report.size = static_cast<__u16>(received);
        }
        send(reply);
    }

    /// The report's length including its ID; 0 if there is no such report.
    std::size_t reportBytes(std::uint8_t id) const
    {
        for (const FeatureReportFormat& format : interface.featureReports) {
            if (format.id == id)
                return std::size_t(1) + format.dataBytes;
        }
        return 0;
    }

    static __u16 errorOf(Transfer outcome) { return outcome == Transfer::Done ? 0 : EIO; }

    /// Sends @p event to the kernel. Ignores failures: they happen only when the interface is gone and no
    /// program waits for an answer.
    void send(const uhid_event& event) const { static_cast<void>(!::write(file, &event, sizeof(event))); }

    const HidInterface interface;
    const int file;
    std::atomic<bool> isGone{false};
};

std::string UhidBus::obstacle()
{
    const int error = ::access(devicePath, R_OK | W_OK) == 0 ? 0 : errno;
    return error == 0 ? std::string()
                      : std::string(devicePath) + ": " + std::generic_category().message(error);
}

UhidBus::~UhidBus()
{
    const std::lock_guard<std::mutex> guard(mutex);
    for (const auto& port : ports) {
        for (const auto& interface : port.second)
            interface->leave();
    }
}

void UhidBus::attach(const BusDevice& device)
{
    const std::lock_guard<std::mutex> guard(mutex);
    for (const HidInterface& interface : device.interfaces) {
        const auto attached = std::make_shared<Attached>(device, interface);
        ports[device.port].push_back(attached);
        servers.start([attached] { attached->run(); });
    }
}

void UhidBus::detach(int port)
{
    std::vector<std::shared_ptr<Attached>> leaving;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        leaving.swap(ports[port]);
    }
    // When an interface leaves, the kernel drops the answers that programs have not fetched yet. This wait
    // gives programs the time to fetch their answers. The wait is in real time, whatever clock the simulation
    // uses for its own delays.
    std::this_thread::sleep_for(answerTime);
    for (const auto& interface : leaving)
        interface->leave();
}
