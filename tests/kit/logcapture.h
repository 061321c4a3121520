#pragma once

#include <map>
#include <mutex>
#include <thread>

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
        return kept().messages[std::this_thread::get_id()].join('|');
    }

    /// @return a message of any thread that contains @p part; empty if there is none.
    QByteArray find(const QByteArray& part) const
    {
        const std::lock_guard<std::mutex> guard(kept().mutex);
        for (const auto& [thread, messages] : kept().messages) {
            for (const QByteArray& message : messages) {
                if (message.contains(part))
                    return message;
            }
        }
        return {};
    }

private:
    struct Kept
    {
        std::mutex mutex;
        std::map<std::thread::id, QByteArrayList> messages;
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
        kept().messages[std::this_thread::get_id()] << mark + text.toLatin1();
    }

    QtMessageHandler previous;
};
