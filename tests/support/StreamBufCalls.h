// SPDX-License-Identifier: Apache-2.0
//
// Calls of any stream buffer, through its public functions and through the standard's formatted
// streams, with their results as text: the same call of a buffer and of its model gives the same.

#ifndef ZELCOMMON_TESTS_SUPPORT_STREAMBUFCALLS_H
#define ZELCOMMON_TESTS_SUPPORT_STREAMBUFCALLS_H

#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

namespace support {

enum class StreamCall {
    SGETC,
    SBUMPC,
    SNEXTC,
    SUNGETC,
    SPUTC,
    SPUTN,
    SGETN,
    SYNC,
    SEEK_FROM_HERE,
    SEEK_FROM_END,
    SEEK_POS,
    SPUTBACKC, // the last of the buffer's own
    READ_NUMBER,
    READ_WORD,
    READ_LINE,
    READ_BLOCK,
    PUT_BACK,
    TELL_AND_SEEK,
    WRITE_NUMBER,
    WRITE_TEXT,
};

constexpr unsigned int OWN_CALLS = 1 + static_cast<unsigned int>(StreamCall::SPUTBACKC);
constexpr unsigned int ALL_CALLS = 1 + static_cast<unsigned int>(StreamCall::WRITE_TEXT);

/// `text` is what is written; as many bytes are read. It is not empty.
struct BufferCall
{
    StreamCall kind;
    std::string text;
    long long offset;
};

/// Reads into a block of exactly `size` bytes. Returns the count and the bytes.
template <typename Read>
std::string readBlock(std::size_t size, Read read)
{
    const std::unique_ptr<char[]> block(new char[size]);
    const std::streamsize count = read(block.get(), static_cast<std::streamsize>(size));
    return std::to_string(count) + " " + std::string(block.get(), static_cast<std::size_t>(count));
}

/// A call of a formatted stream. Returns its result, and the stream's state.
inline std::string formattedText(std::streambuf& buffer, const BufferCall& call)
{
    std::iostream stream(&buffer);
    int number = -7;
    std::string text;
    switch (call.kind) {
    case StreamCall::READ_NUMBER:
        stream >> number;
        text = std::to_string(number);
        break;
    case StreamCall::READ_WORD: stream >> text; break;
    case StreamCall::READ_LINE: std::getline(stream, text, call.text[0]); break;
    case StreamCall::READ_BLOCK:
        text = readBlock(call.text.size(), [&](char* block, std::streamsize size) {
            return stream.read(block, size).gcount();
        });
        break;
    case StreamCall::PUT_BACK: text = std::to_string(stream.putback(call.text[0]).peek()); break;
    case StreamCall::TELL_AND_SEEK:
        text = std::to_string(stream.tellg());
        text += " " + std::to_string(stream.seekp(call.offset).tellp());
        break;
    case StreamCall::WRITE_NUMBER: stream << call.offset << ' '; break;
    default: stream << call.text << std::flush; break;
    }
    return text + " state " + std::to_string(stream.rdstate());
}

/// Makes the call. Returns its result.
inline std::string callText(std::streambuf& buffer, const BufferCall& call)
{
    switch (call.kind) {
    case StreamCall::SGETC: return std::to_string(buffer.sgetc());
    case StreamCall::SBUMPC: return std::to_string(buffer.sbumpc());
    case StreamCall::SNEXTC: return std::to_string(buffer.snextc());
    case StreamCall::SUNGETC: return std::to_string(buffer.sungetc());
    case StreamCall::SPUTC: return std::to_string(buffer.sputc(call.text[0]));
    case StreamCall::SPUTN: {
        const auto size = static_cast<std::streamsize>(call.text.size());
        return std::to_string(buffer.sputn(call.text.data(), size));
    }
    case StreamCall::SGETN:
        return readBlock(call.text.size(), [&](char* block, std::streamsize size) {
            return buffer.sgetn(block, size);
        });
    case StreamCall::SYNC: return std::to_string(buffer.pubsync());
    case StreamCall::SEEK_FROM_HERE:
        return std::to_string(buffer.pubseekoff(call.offset, std::ios_base::cur));
    case StreamCall::SEEK_FROM_END:
        return std::to_string(buffer.pubseekoff(call.offset, std::ios_base::end));
    case StreamCall::SEEK_POS: return std::to_string(buffer.pubseekpos(call.offset));
    case StreamCall::SPUTBACKC: return std::to_string(buffer.sputbackc(call.text[0]));
    default: return formattedText(buffer, call);
    }
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_STREAMBUFCALLS_H
