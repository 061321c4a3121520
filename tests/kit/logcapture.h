#pragma once

#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <QByteArrayList>
#include <QString>

/// Keeps the log messages of all threads, with "!" before critical ones and "?" before warnings.
class LogCapture
{
public:
    LogCapture()
        : previous(qInstallMessageHandler(take))
    {
        const std::lock_guard<std::mutex> guard(kept().mutex);
        kept().messages.clear();
    }
    ~LogCapture() { qInstallMessageHandler(previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// @return the messages of the calling thread, separated by '|'.
    QByteArray text() const
    {
        const std::lock_guard<std::mutex> guard(kept().mutex);
        QByteArrayList own;
        for (const auto& [thread, message] : kept().messages) {
            if (thread == std::this_thread::get_id())
                own << message;
        }
        return own.join('|');
    }

    /// @return the first message of any thread that contains @p part; empty if there is none.
    QByteArray find(const QByteArray& part) const
    {
        const std::lock_guard<std::mutex> guard(kept().mutex);
        for (const auto& [thread, message] : kept().messages) {
            if (message.contains(part))
                return message;
        }
        return {};
    }

private:
    struct Kept
    {
        std::mutex mutex;
        std::vector<std::pair<std::thread::id, QByteArray>> messages;
    };

    static Kept& kept()
    {
        static Kept all;
        return all;
    }
    static void take(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        const char* const mark = type == QtCriticalMsg ? "!" : type == QtWarningMsg ? "?" : "";
        const std::lock_guard<std::mutex> guard(kept().mutex);
        kept().messages.emplace_back(std::this_thread::get_id(), mark + text.toLatin1());
    }

    QtMessageHandler previous;
};
