// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the text of a UUID, over the value of the first sixteen, against the slow reader and
// printer. The text lies in memory of exactly its size.

#include <algorithm>
#include <memory>
#include <string>

#include <Input.h>
#include <common/UUID.h>
#include <support/OpenStorage.h>
#include <support/SlowUuid.h>

namespace {

using fuzz::require;
using fuzz::requireSame;
using std::UUID;
using std::UUIDValue;
namespace slow = support::slow;

UUIDValue valueOf(const std::string& bytes)
{
    UUIDValue value = {};
    bytes.copy(reinterpret_cast<char*>(&value), sizeof value);
    return value;
}

void checkParse(const std::string& text, const UUIDValue& old)
{
    support::OpenStorage errors;
    UUIDValue expected = old;
    const bool isRefused = !slow::parseUuid(text, expected) && !text.empty();
    UUID id("?"); // so that the flag is there before
    id = UUID(old);
    errors.clear();
    id.parse(text);
    requireSame(slow::printUuid(expected), slow::printUuid(id));
    require(id.isInvalid() == isRefused);
    require(errors.m_count == (isRefused ? 1 : 0));
    require(std::ErrorStorage::isA(UUID::Error) == isRefused);
    requireSame(isRefused ? "Syntax error UUID" : "",
                isRefused ? std::ErrorStorage::reason() : std::string());
    const UUID made(text);
    require(made.isInvalid() == isRefused);
    require(isRefused ? made == UUID::nil() : text.empty() || made == id);
    // The flag is that of the last text.
    id.parse(slow::printUuid(old));
    require(!id.isInvalid() && id == UUID(old));
}

void checkChars(const std::string& text, const UUIDValue& old)
{
    const support::OpenStorage errors;
    UUIDValue expected = old;
    const bool isTaken = slow::parseUuid(text, expected);
    const std::unique_ptr<char[]> block(new char[text.size()]);
    text.copy(block.get(), text.size());
    UUID id(old);
    require(UUID::fromChars(block.get(), text.size(), id) == isTaken);
    requireSame(slow::printUuid(expected), slow::printUuid(id));
    require(!id.isInvalid() && errors.m_count == 0);
}

void checkPrint(const UUIDValue& value)
{
    const std::string expected = slow::printUuid(value);
    const UUID id(value);
    requireSame(expected, id.toString());
    std::string text = "old";
    id.toString(text);
    requireSame(expected, text);
    const std::unique_ptr<char[]> block(new char[UUID::TEXT_LENGTH]);
    id.toChars(block.get());
    requireSame(expected, std::string(block.get(), UUID::TEXT_LENGTH));
    UUID again;
    require(UUID::fromChars(block.get(), UUID::TEXT_LENGTH, again) && again == id);
    require(again.hash() == id.hash());
}

void checkNetwork(const UUIDValue& value)
{
    UUID id(value);
    const std::unique_ptr<char[]> block(new char[16]);
    id.copyTo(block.get());
    std::string digits;
    for (unsigned int i = 0; i < 16; ++i)
        UUID::appendHex(digits, static_cast<unsigned char>(block[i]));
    std::string expected = slow::printUuid(value);
    expected.erase(std::remove(expected.begin(), expected.end(), '-'), expected.end());
    requireSame(expected, digits);
    UUID again;
    again.copyFrom(block.get());
    require(again == id);
    id.toNetwork();
    id.fromNetwork();
    require(again == id);
}

/// From bytes the digits of the version and of the variant are put in.
void checkBytes(const UUIDValue& value, unsigned int version)
{
    std::string expected = slow::printUuid(value);
    std::string digits = expected;
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    const std::unique_ptr<unsigned char[]> block(new unsigned char[16]);
    for (unsigned int i = 0; i < 16; ++i)
        block[i] = static_cast<unsigned char>(slow::number(digits, 2 * i, 2 * i + 1));
    expected[14] = static_cast<char>('0' + version);
    expected[19] = "89ab"[slow::digit(expected[19]) % 4];
    const UUID id(block.get(), static_cast<UUID::Version>(version));
    requireSame(expected, slow::printUuid(id));
    require(id.variant() == UUID::VARIANT_RFC4122);
}

/// Of the wide fields the low 16 bits count.
void checkFields(const UUIDValue& value, unsigned int above)
{
    const UUID id(value.timeLow, above << 16 | value.timeMid, above << 16 | value.timeHiAndVersion,
                  value.clockSeq, value.node[0], value.node[1], value.node[2], value.node[3],
                  value.node[4], value.node[5]);
    const std::string text = slow::printUuid(value);
    requireSame(text, slow::printUuid(id));
    const unsigned int top = slow::digit(text[19]);
    const UUID::Variant special = top < 14 ? UUID::VARIANT_MICROSOFT : UUID::VARIANT_RESERVED;
    const UUID::Variant plain = top < 8 ? UUID::VARIANT_NCS : UUID::VARIANT_RFC4122;
    require(id.variant() == (top < 12 ? plain : special));
}

/// The order of the values is that of their texts.
void checkOrder(const UUIDValue& left, const UUIDValue& right)
{
    const int order = slow::printUuid(left).compare(slow::printUuid(right));
    require(UUID(left).compare(UUID(right)) == (order > 0) - (order < 0));
    require((UUID(left) < UUID(right)) == (order < 0));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const UUIDValue old = valueOf(input.text(sizeof(UUIDValue)));
    const std::string text = input.text(size);
    checkParse(text, old);
    checkChars(text, old);
    checkPrint(old);
    checkNetwork(old);
    checkBytes(old, 1 + old.node[5] % 5);
    checkFields(old, old.timeLow);
    checkOrder(old, valueOf(text));
    return 0;
}
