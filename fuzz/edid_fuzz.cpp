/**
 * @file
 * The input is the EDID of a display, as long as it is. It is parsed as the driver does with what it has read over DDC:
 * as it is, and with header and checksum of block 0 put right, so that mutations of the extensions reach the parser.
 * Stops on what the sanitizers find, and when the parser believes what cannot be so.
 *
 *   edid_fuzz -max_len=640 new_corpus edid_corpus
 */
#include "hdmitx/edid.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace {

using capd::EDID_BLOCK_SIZE;
using capd::EdidBlock;
using capd::RxCapability;

constexpr size_t MOST_BLOCKS = 5; // that the driver reads
using Edid = std::array<uint8_t, MOST_BLOCKS * EDID_BLOCK_SIZE>;

void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "edid_fuzz: %s\n", what);
    std::abort();
}

EdidBlock block(const Edid& edid, size_t number)
{
    return EdidBlock(edid.data() + number * EDID_BLOCK_SIZE, EDID_BLOCK_SIZE);
}

bool has_vic(const RxCapability& found, uint8_t vic)
{
    return vic < 64 && (found.VDOMode[vic / 8] >> vic % 8 & 1) != 0;
}

/** Whether a text of bytes stands anywhere in an extension. */
template<size_t N>
bool holds(EdidBlock extension, const uint8_t (&text)[N])
{
    return std::search(extension.begin(), extension.end(), std::begin(text), std::end(text)) != extension.end();
}

/** The walk goes forwards, stays in front of the checksum and ends. */
void check_walk(EdidBlock extension)
{
    const uint8_t* at = extension.data() + 4;
    int blocks = 0;
    for (capd::EdidDataBlocks walk(extension); walk.next(); ++blocks) {
        const capd::EdidBytes payload = walk.block().payload;
        require(payload.data() > at || (blocks == 0 && payload.data() == at + 1), "a walk that does not go on");
        require(payload.data() + payload.size() <= extension.data() + 127, "a data block behind the end");
        at = payload.data() + payload.size() - 1;
    }
    require(blocks <= 123, "more data blocks than bytes");
}

void parse(const Edid& edid)
{
    if (capd::edid_check(block(edid, 0)) != capd::EdidFault::None) return;
    RxCapability found{};
    for (size_t number = 1; number < MOST_BLOCKS; ++number) {
        const EdidBlock extension = block(edid, number);
        check_walk(extension);
        if (!capd::edid_is_cea(extension)) continue;
        const uint32_t oui_before = found.IEEEOUI;
        capd::edid_parse(extension, found);
        const bool hdmi = (found.flags & capd::RX_VALID_HDMI) != 0;
        require((found.flags & capd::RX_VALID_CEA) != 0, "an extension that was not parsed");
        require(hdmi == (found.IEEEOUI == capd::HDMI_OUI), "HDMI and its identifier tell different things");
        require(!hdmi || oui_before == capd::HDMI_OUI || holds(extension, {0x03, 0x0C, 0x00}), "HDMI out of nothing");
        require(found.NativeVIC == capd::NO_NATIVE_VIC || has_vic(found, found.NativeVIC), "native VIC not listed");
        require(found.AUDDesCount <= 10, "more audio descriptors than a data block holds");
        require((found.DCFlags & ~0x70) == 0, "deep colour out of its bits");
    }
}

void repair(Edid& edid)
{
    std::ranges::copy(capd::EDID_HEADER, edid.begin());
    edid[127] = static_cast<uint8_t>(0u - std::accumulate(edid.begin(), edid.begin() + 127, 0u));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Edid edid{};
    std::copy_n(data, std::min(size, edid.size()), edid.begin());
    parse(edid);
    repair(edid);
    require(capd::edid_check(block(edid, 0)) == capd::EdidFault::None, "a block 0 put right is none");
    parse(edid);
    return 0;
}
