// SPDX-License-Identifier: Apache-2.0
//
// A program is run on the library and on its slow model: errors are raised, formatted, copied,
// acknowledged, in storages within each other, and also by those who are told of unhandled and
// overwritten errors. What both find and print must be the same.

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <CapturedStream.h>
#include <Input.h>
#include <common/error/Error.h>
#include <common/error/GlobalErrorHandler.h>
#include <support/OpenStorage.h>
#include <support/SlowErrors.h>

#include "ErrorProgram.h"

namespace {

using fuzz::Input;
using fuzz::Program;
using fuzz::Raise;
using fuzz::World;
using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using support::slow::StorageKind;
namespace slow = support::slow;

constexpr std::size_t REASON = 256; // bytes of a reason that is recorded from elsewhere
constexpr int ERRNO = 41;           // survives everything

constexpr std::ErrorID OWN_TABLE[] = {
    {0, "plain %s as it stands", 0}, {1, "%s/%d", 2}, {2, nullptr, 0}, {4, "row 3, %d%%", 1}};
constexpr std::ErrorID CHILD_TABLE[] = {{0, "child %s", 1}};
constexpr std::ErrorType OWN(OWN_TABLE, 4);
constexpr std::ErrorType CHILD(CHILD_TABLE, 1, OWN);
const std::ErrorType* const TYPES[] = {&std::CommonError, &OWN, &CHILD};

/// What ends up as the reason of `form`; the rest of the row is `type` and `id`.
slow::Error expectedOf(const Raise& raise)
{
    const std::string number = std::to_string(raise.number);
    const auto make = [&](int type, int id, const std::string& reason) {
        return slow::Error{type, id, raise.file, raise.number, reason.substr(0, 254)};
    };
    switch (raise.form % 9) {
    case 0: return make(0, 0, "Out of heap memory");
    case 1: return make(0, 1, "Invalid usage/logic detected: " + raise.text);
    case 2:
        return make(
            0, 2, "Integer parameter out of range. Min = 1, Max = -2147483648, Found = " + number);
    case 3: return make(0, 9, "");
    case 4: return make(1, 0, "plain %s as it stands");
    case 5: return make(1, 1, raise.text + "/" + number);
    case 6: return make(1, 2, "<no message>");
    case 7: return make(1, 4, "row 3, " + number + "%");
    default: return make(2, 0, "child " + raise.text);
    }
}

/// What can be seen of a storage, besides the types of its newest error and the list of reasons.
struct State
{
    bool isAny;
    bool isPending;
    std::string_view reason;
    int id;
    const char* file;
    int line;
    int count;
};

void append(const State& state, std::string& log)
{
    log += state.isAny ? "error " : "none ";
    if (state.isPending) log += "pending ";
    log.append(state.reason).append("\n").append(std::to_string(state.id)).append(" ");
    log.append(state.file != nullptr ? state.file : "(null)").append(" ");
    log.append(std::to_string(state.line)).append(" ");
    log.append(std::to_string(state.count)).append(" ");
}

class ModelWorld : public World
{
public:
    explicit ModelWorld(Program& program)
        : m_errors([&program](const std::string& what) { program.told(what); })
    {}

    void push(StorageKind kind) override { m_errors.push(kind); }
    void pop() override { m_errors.pop(); }
    std::size_t depth() const override { return m_errors.depth(); }
    void raise(const Raise& error) override { m_errors.record(error.isNew, expectedOf(error)); }
    void add(const Raise& error) override
    {
        const bool isOwn = error.form % 2 == 0; // a text of static lifetime is not cut
        m_errors.record(error.isNew,
                        {1, error.number, error.file, 7,
                         isOwn ? error.text.substr(0, REASON - 1) : std::string(REASON + 40, 'x')});
    }
    void copy(bool isNew, unsigned int steps) override
    {
        const std::vector<slow::Error>& chain = m_errors.chain();
        slow::Error error = steps < chain.size() ? chain[chain.size() - 1 - steps] : m_saved;
        if (error.type < 0) {
            m_errors.assertion(
                "src/common/error/Error:" + std::to_string(TYPE_LINE) + ", operator()()", "m_type");
            return;
        }
        error.reason = error.reason.substr(0, REASON);
        m_errors.record(isNew, error);
    }
    void save() override
    {
        m_saved = m_errors.chain().empty() ? slow::Error() : m_errors.chain().back();
        m_saved.reason = m_saved.reason.substr(0, REASON - 1);
    }
    void ack() override { m_errors.ack(); }
    void clear() override { m_errors.clear(); }

    void appendState(std::string& log) override
    {
        static const slow::Error s_none{-1, 0, "", 0, ""};
        const std::vector<slow::Error>& chain = m_errors.chain();
        const bool isAny = !chain.empty();
        const slow::Error& last = isAny ? chain.back() : s_none;
        append({isAny, isAny && !m_errors.isAcknowledged(), last.reason, last.id, last.file,
                last.line, m_errors.count()},
               log);
        for (int type = 0; type < 3; ++type)
            log += last.type == type ? "= " : last.type == 2 && type == 1 ? "< " : "- ";
        if (isAny)
            slow::appendReasonList(chain, log);
        else
            log += "\n";
    }
    std::string takePrinted() override { return m_errors.takePrinted() + m_errors.takeDumped(); }

private:
    static constexpr int TYPE_LINE = 97;
    slow::Errors m_errors;
    slow::Error m_saved;
};

Program* s_program = nullptr;

void onUnhandled(void* data, const char* text, const ErrorObject* error, unsigned int count)
{
    ErrorStorage::action_dump_to_stdout(data, text, error, count);
    s_program->told(text + (" " + std::to_string(count)) + "\n" + zel_error.getReasonList());
}

void onWarning(const char* location, const char* reason)
{
    if (s_program != nullptr)
        s_program->told(std::string("warning ") + location + " " + reason + "\n");
}

ErrorStorage::Action actionOf(StorageKind kind)
{
    switch (kind) {
    case StorageKind::TELLING: return onUnhandled;
    case StorageKind::DUMP: return ErrorStorage::action_dump_to_stdout;
    case StorageKind::TRACE: return ErrorStorage::action_trace;
    case StorageKind::ABORT: return ErrorStorage::action_dump_and_abort;
    default: return nullptr;
    }
}

class LibraryWorld : public World
{
public:
    void push(StorageKind kind) override
    {
        m_storages.push_back(std::make_unique<support::OpenStorage>(actionOf(kind)));
        m_storages.back()->m_data = this; // asked for by the trace reaction
    }
    void pop() override { m_storages.pop_back(); }
    std::size_t depth() const override { return m_storages.size(); }

    void raise(const Raise& error) override
    {
        const char* const text = error.text.c_str();
        ErrorOutput output(error.file, error.number, error.isNew);
        errno = ERRNO;
        switch (error.form % 9) {
        case 0: output(std::CommonError, 0); break;
        case 1: output(std::CommonError, 1, text); break;
        case 2: output(std::CommonError, 2, 1, -2147483647 - 1, error.number); break;
        case 3: output(std::CommonError, 9); break;
        case 4: output(OWN, 0); break;
        case 5: output(OWN, 1, text, error.number); break;
        case 6: output(OWN, 2); break;
        case 7: output(OWN, 4, error.number); break;
        default: output(CHILD, 0, text); break;
        }
        fuzz::require(errno == ERRNO);
    }
    void add(const Raise& error) override
    {
        static const std::string s_long(REASON + 40, 'x');
        const bool isOwn = error.form % 2 == 0;
        bool noStorage = true;
        char* const buffer = ErrorStorage::add(error.isNew, OWN, error.number, error.file, 7,
                                               isOwn ? nullptr : s_long.c_str(), noStorage);
        fuzz::require(!noStorage && (buffer != nullptr) == isOwn);
        if (isOwn) buffer[error.text.copy(buffer, REASON - 1)] = '\0';
    }
    void copy(bool isNew, unsigned int steps) override
    {
        const ErrorObject* error = ErrorStorage::isError(false) ? ErrorStorage::get() : nullptr;
        for (; error != nullptr && steps > 0; --steps)
            error = error->m_cause;
        ErrorOutput("nowhere", 1, isNew)(error != nullptr ? *error : m_saved);
    }
    void save() override { m_saved = *ErrorStorage::get(); }
    void ack() override { ErrorStorage::ack(); }
    void clear() override { m_storages.back()->clear(); }

    void appendState(std::string& log) override
    {
        static const int s_process = getpid();
        const ErrorObject& last = *ErrorStorage::get();
        const bool isAny = ErrorStorage::isError(false);
        fuzz::require(last.m_process == (isAny ? s_process : 0));
        append({isAny, ErrorStorage::isError(true), reasonOf(last), ErrorStorage::id(),
                ErrorStorage::file(), ErrorStorage::line(), m_storages.back()->m_count},
               log);
        for (const std::ErrorType* type : TYPES) {
            const bool isSame = isAny && last.equals(*type);
            log += isSame ? "= " : ErrorStorage::isA(*type) ? "< " : "- ";
        }
        log += zel_error.getReasonList();
    }
    std::string takePrinted() override { return m_printed.take() + m_dumped.take(); }

private:
    /// A reason may fill its buffer.
    static std::string_view reasonOf(const ErrorObject& error)
    {
        const bool isOwn = error.reason() == error.m_buffer;
        return isOwn ? std::string_view(error.m_buffer, strnlen(error.m_buffer, REASON))
                     : error.reason();
    }

    fuzz::CapturedStderr m_printed;
    fuzz::CapturedStdout m_dumped;
    std::vector<std::unique_ptr<support::OpenStorage>> m_storages;
    ErrorObject m_saved;
};

void runLibrary(const Input& input, std::string& log)
{
    LibraryWorld world;
    Program program(input, log);
    s_program = &program;
    program.run(world);
    s_program = nullptr;
}

void runModel(const Input& input, std::string& log)
{
    Program program(input, log);
    ModelWorld world(program);
    program.run(world);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool s_isSet = std::GlobalErrorHandler::atWarning(onWarning);
    // Kept, as long texts are slow to make room for under a sanitizer.
    static std::string s_expected;
    static std::string s_found;
    fuzz::require(!s_isSet);
    std::GlobalErrorHandler::s_disable_abort = true;
    const Input input(data, size);
    runModel(input, s_expected);
    runLibrary(input, s_found);
    fuzz::requireSame(s_expected, s_found);
    return 0;
}
