// SPDX-License-Identifier: Apache-2.0
//
// Objects of each kind that the debugger shows, and what looks like objects and is none.

#ifndef ZELCOMMON_TESTS_GDB_VALUES_H
#define ZELCOMMON_TESTS_GDB_VALUES_H

#include <cstring>
#include <string>

#include <zelcommon.h>

/// A codec that the library does not know.
class OwnCodec : public std::unicode::Utf8
{
public:
    // Not constexpr: it refers to the table of functions of the base, which the program copies
    // then.
    OwnCodec() {}
};

inline const OwnCodec ownCodec;

struct Texts
{
    using String = std::unicode::String;

    String utf8{"Gr\u00fc\u00dfe"};
    String utf16le{std::unicode::UTF16LE, "Gr\u00fc\u00dfe \U0001F600"};
    String utf16be{std::unicode::UTF16BE, "Gr\u00fc\u00dfe \U0001F600"};
    String ucs4{std::unicode::UCS4, "Gr\u00fc\u00dfe"};
    String escaped{"\"tab\t\\ \n \x01"};
    String malformed{"a\xFF\xE2\x82"
                     "bc\xE2\x82"};
    String surrogate{"<\xED\xA0\x80>"};
    String beyond{"\xF8\x88\x80\x80\x80"};
    String full{std::string(200, 'x')};
    String cut{std::string(201, 'x')};
    String empty;
    String from{"taken away"};
    String moved{static_cast<String&&>(from)};
    String part{utf8.substr(1, 3)};
    String own{ownCodec, "abc"};
    const String& reference = utf8;

    String::Iterator begin = utf16be.begin();
    String::Iterator third = ++ ++utf16be.begin();
    String::Iterator end = utf16be.end();
    String::Iterator nowhere;
};

struct Values
{
    std::SharedBuf shared{5};
    std::SharedBuf holder = shared + 2;
    std::SharedBuf none;
    std::UUID uuid{std::string("123E4567-e89b-12d3-a456-426614174000")};
    std::UUID nil;
    zelbase::Duration span{-250};
    zelbase::Duration endless = zelbase::Duration::MAX;
    zelbase::Duration half{std::int64_t{1} << 62};
    zelbase::TimePoint point{1234567};
    zelbase::TimePoint never = zelbase::TimePoint::MAX;
};

/// Memory that no object was built in.
template <typename Type>
union Raw {
    explicit Raw(int byte) { std::memset(static_cast<void*>(this), byte, sizeof *this); }
    ~Raw() {}

    Type object;
};

/// Objects all of whose bytes are the same.
struct Filled
{
    explicit Filled(int byte)
        : text(byte), position(byte), block(byte), id(byte), error(byte), storage(byte),
          channel(byte), point(byte)
    {}

    Raw<std::unicode::String> text;
    Raw<std::unicode::String::Iterator> position;
    Raw<std::SharedBuf> block;
    Raw<std::UUID> id;
    Raw<std::ErrorObject> error;
    Raw<std::StdoutDumpErrorStorage> storage;
    Raw<tracing::Channel> channel;
    Raw<zelbase::TimePoint> point;
};

#endif // ZELCOMMON_TESTS_GDB_VALUES_H
