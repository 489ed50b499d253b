// SPDX-License-Identifier: Apache-2.0
//
// The error storages of one thread once more, from plain vectors, with what they print and whom
// they tell: what the library is held against. Calls nothing of the library.
//
//     slow::Errors errors([](const std::string& what) { log += what; });
//     errors.push(slow::StorageKind::DUMP);
//     errors.record(true, {0, 5, "pump.c", 12, "dry"});

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWERRORS_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWERRORS_H

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pthread.h>
#include <unistd.h>

namespace support::slow {

/// What a storage does with an unhandled error.
enum class StorageKind { SILENT, TELLING, DUMP, TRACE, ABORT };

struct Error
{
    /// A number that stands for the type; -1 for none.
    int type = -1;
    int id = 0;
    const char* file = nullptr;
    int line = 0;
    std::string reason;
};

/// The part of a path from its first directory of sources on.
inline std::string_view sourcePath(std::string_view path)
{
    for (std::size_t at = 0; at < path.size(); ++at) {
        if (path[at] != '/' && path[at] != '\\') continue;
        for (const std::string_view name : {"src/", "src\\", "include/", "include\\"})
            if (path.substr(at + 1, name.size()) == name) return path.substr(at + 1);
    }
    return path;
}

/// Up to five components; a name that has fewer loses its first character.
inline std::string dumpedPath(const char* path)
{
    if (path == nullptr) return "(null)";
    const std::string text = path;
    std::size_t slash = text.rfind('/');
    if (slash == text.npos) return text;
    for (int round = 0; round < 4 && slash > 0; ++round) {
        slash = text.rfind('/', slash - 1);
        if (slash == text.npos) slash = 0;
    }
    return text.substr(slash + 1);
}

/// Appends the chain, newest first, as a list of the causes is.
inline void appendReasonList(const std::vector<Error>& chain, std::string& text)
{
    for (std::size_t i = chain.size(); i > 0; --i) {
        const Error& error = chain[i - 1];
        text.append("Error (ID ").append(std::to_string(error.id)).append("):\n\t");
        text.append(error.reason).append("\n\tLocation: ");
        if (error.file == nullptr) return; // the list ends there
        text.append(sourcePath(error.file)).append(":").append(std::to_string(error.line));
        if (i > 1) text += "\n\twas caused by\n";
    }
    text += "\n";
}

inline std::string reasonList(const std::vector<Error>& chain)
{
    std::string text;
    appendReasonList(chain, text);
    return text;
}

class Errors
{
public:
    /// `told` is called by telling storages and at each warning.
    explicit Errors(std::function<void(const std::string&)> told) : m_told(std::move(told)) {}

    void push(StorageKind kind) { m_storages.push_back({kind, {}, 0, true, false, 0}); }
    void pop() { m_storages.pop_back(); }
    std::size_t depth() const { return m_storages.size(); }

    void ack() { active().isAcknowledged = true; }
    void clear()
    {
        Storage& storage = active();
        storage.chain.clear();
        storage.count = 0;
        storage.isAcknowledged = false;
        ++storage.changes;
    }

    /// `error` is by value, as it may be one of the chain.
    void record(bool raise, Error error)
    {
        const std::size_t number = m_storages.size() - 1; // telling may move the storages
        if (raise && isPending(number)) react(number);
        Storage& storage = m_storages[number];
        if (raise || (!storage.chain.empty() && storage.isAcknowledged)) {
            storage.chain.clear();
            storage.count = 0;
        }
        ++storage.count;
        if (storage.count > MOST) dropOldest(number);
        m_storages[number].chain.push_back(std::move(error));
        m_storages[number].isAcknowledged = false;
        ++m_storages[number].changes;
    }

    /// An assertion, at a place of the library, that is told nobody.
    void assertion(const std::string& place, const std::string& condition)
    {
        m_printed += heading("Assert failed", place) + "Condition: \"" + condition +
                     "\"\nNo reason given\n" + context();
    }

    const std::vector<Error>& chain() const { return m_storages.back().chain; }
    int count() const { return m_storages.back().count; }
    bool isAcknowledged() const { return m_storages.back().isAcknowledged; }

    /// Return what was printed to each stream since the last time.
    std::string takePrinted() { return std::exchange(m_printed, {}); }
    std::string takeDumped() { return std::exchange(m_dumped, {}); }

private:
    static constexpr int MOST = 8;

    struct Storage
    {
        StorageKind kind;
        /// The oldest first.
        std::vector<Error> chain;
        int count;
        bool isAcknowledged;
        bool isReporting;
        unsigned int changes;
    };

    Storage& active() { return m_storages.back(); }
    bool isPending(std::size_t number) const
    {
        return !m_storages[number].chain.empty() && !m_storages[number].isAcknowledged;
    }

    void react(std::size_t number)
    {
        const bool isQuiet = m_storages[number].kind == StorageKind::SILENT;
        if (isQuiet || m_storages[number].isReporting) return;
        const Storage before = m_storages[number];
        m_storages[number].isReporting = true;
        if (before.kind == StorageKind::TRACE) m_dumped += "TODO: TRACE THIS\n";
        dump(before);
        if (before.kind == StorageKind::TELLING)
            m_told("unhandled error " + std::to_string(before.count) + "\n" +
                   reasonList(before.chain));
        if (before.kind == StorageKind::ABORT)
            m_printed += heading("Abort was called",
                                 "src/common/error/ErrorStorages:109, action_dump_and_abort()") +
                         context() + "Reason: \"unhandled error occured\"\n";
        m_storages[number].isReporting = false;
    }

    /// Whoever is told may change the storage, and starts a chain of their own then.
    void dropOldest(std::size_t number)
    {
        const Error oldest = std::move(m_storages[number].chain.front());
        m_storages[number].chain.erase(m_storages[number].chain.begin());
        if (m_storages[number].isReporting) return;
        const unsigned int changes = m_storages[number].changes;
        m_storages[number].isReporting = true;
        m_storages[number].isAcknowledged = true;
        warn(oldest);
        Storage& storage = m_storages[number];
        storage.isReporting = false;
        storage.isAcknowledged = false;
        if (storage.changes == changes) return;
        ++storage.count;
        if (storage.count > MOST) storage.chain.erase(storage.chain.begin());
    }

    void warn(const Error& oldest)
    {
        const std::string file = oldest.file != nullptr ? oldest.file : "(null)";
        const std::string reason =
            "An error was overwritten: " + file + ":" + std::to_string(oldest.line) +
            ", id = " + std::to_string(oldest.id) + ", text = " + oldest.reason;
        m_told("warning framework/src/common/error/ErrorStorage:258, add() " + reason + "\n");
        m_printed += heading("Warning triggered", "src/common/error/ErrorStorage:258, add()") +
                     "Reason: \"" + reason + "\"\n" + context();
    }

    static std::string ids()
    {
        return std::to_string(getpid()) + "/" + std::to_string(static_cast<long>(pthread_self()));
    }
    static std::string heading(const std::string& title, const std::string& place)
    {
        return title + " in process " + std::to_string(getpid()) + " / thread " +
               std::to_string(static_cast<long>(pthread_self())) + " !\nLocation: " + place + "\n";
    }
    std::string context() const
    {
        if (!isPending(m_storages.size() - 1)) return "No error context set\n";
        return "Current error context:\n" + reasonList(chain()) + "\n";
    }

    static std::string dumpLine(const std::string& label, const Error& error)
    {
        return label + ": " + error.reason + " [in process/thread '" + ids() + "', file '" +
               dumpedPath(error.file) + "', line " + std::to_string(error.line) + "]\n";
    }
    void dump(const Storage& storage)
    {
        const std::size_t size = storage.chain.size();
        if (size == 1) {
            m_dumped += dumpLine("unhandled error", storage.chain[0]);
            return;
        }
        m_dumped += "unhandled error (linked):\n";
        for (std::size_t i = 1; i <= size; ++i)
            m_dumped += dumpLine("   " + std::to_string(i), storage.chain[size - i]);
        if (storage.count > MOST)
            m_dumped += std::to_string(storage.count - MOST) + " old attachment(s) overwritten\n";
    }

    std::function<void(const std::string&)> m_told;
    std::vector<Storage> m_storages;
    std::string m_printed;
    std::string m_dumped;
};

} // namespace support::slow

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWERRORS_H
