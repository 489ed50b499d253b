// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/Codec.h>

#include <climits>

#include "../../zelbase/NeverDestroyed.h"
#include "../../zelbase/constantInit.h"
#include "Conversion.h"
#include "Decoders.h"
#include "OwnedBlock.h"

namespace std::unicode {

const unsigned int BOM = 0xFEFF;
const unsigned int MOB = 0xFFFE;
const unsigned int REPLACEMENT_CHAR = textcore::REPLACEMENT;

} // namespace std::unicode

// The codec objects. Texts of exit handlers still need them, so users see an alias of an object
// that is never destroyed. The aliased names are the C language's, as an alias cannot spell others.
extern "C" {
using zelbase::NeverDestroyed;
using namespace std::unicode;

ZEL_LOCAL extern const NeverDestroyed<Utf8> zelcommon_utf8;
ZEL_LOCAL extern const NeverDestroyed<Utf16> zelcommon_utf16le;
ZEL_LOCAL extern const NeverDestroyed<Utf16> zelcommon_utf16be;
ZEL_LOCAL extern const NeverDestroyed<Ucs4> zelcommon_ucs4;

ZELCOMMON_CONSTANT_INIT const NeverDestroyed<Utf8> zelcommon_utf8;
ZELCOMMON_CONSTANT_INIT const NeverDestroyed<Utf16> zelcommon_utf16le(false);
ZELCOMMON_CONSTANT_INIT const NeverDestroyed<Utf16> zelcommon_utf16be(true);
ZELCOMMON_CONSTANT_INIT const NeverDestroyed<Ucs4> zelcommon_ucs4;
}

namespace std::unicode {

extern const Utf8 UTF8 __attribute__((alias("zelcommon_utf8")));
extern const Utf16 UTF16LE __attribute__((alias("zelcommon_utf16le")));
extern const Utf16 UTF16BE __attribute__((alias("zelcommon_utf16be")));
extern const Ucs4 UCS4 __attribute__((alias("zelcommon_ucs4")));

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the targets are little-endian");
ZELCOMMON_CONSTANT_INIT const Codec& UTF16MACHINE = UTF16LE;
ZELCOMMON_CONSTANT_INIT const Codec& WSTRING = UCS4;
ZELCOMMON_CONSTANT_INIT const Codec& NATIVE = UTF8;

Codec::~Codec() = default;

Codec::Index Codec::at(const unsigned char* data, unsigned int size, unsigned int i) const
{
    Index index;
    unsigned int last = 0;
    read_forward(data, size, index, i, last);
    return index;
}

SharedBuf Codec::to(const Codec& target, const unsigned char* data, unsigned int size,
                    unsigned int max_bytes) const
{
    const textcore::Extent extent = textcore::measure(*this, target, {data, size}, max_bytes);
    if (extent.bytes > UINT_MAX) return SharedBuf();
    textcore::OwnedBlock block(static_cast<unsigned int>(extent.bytes));
    if (!block.isNull()) textcore::convert(*this, target, {data, size}, extent, block.payload());
    return block.release();
}

} // namespace std::unicode
