/**
 * @file
 * The input is the EDID of a display, as long as it is; the display is plugged into the emulated transmitter and the
 * driver reads it over DDC, twice: as it is, and with header and checksum of block 0 put right, so that mutations of
 * the extensions reach the parser. Stops on what the sanitizers find, and when the driver believes what cannot be so.
 *
 *   edid_fuzz -max_len=640 new_corpus edid_corpus
 */
#include "emulator/inprocess/inprocess.h"
#include "hdmitx/edid.h"
#include "hdmitx/hdmitx.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

using emu::EDID_BLOCK;

constexpr size_t MOST_BLOCKS = 5; // that the driver reads
constexpr emu::Micros LONGEST_READ = (MOST_BLOCKS * EDID_BLOCK + 1) * 1000;

int callbacks;

int count_callback(const unsigned char* image)
{
    // All of the image has to be there; the sanitizer watches.
    unsigned sum = 0;
    for (int i = 0; i < capd::EDID_IMAGE_SIZE; ++i) sum += image[i];
    callbacks += 1 + static_cast<int>(sum / 100000);
    return 0;
}

void require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "edid_fuzz: %s\n", what);
    std::abort();
}

bool has_vic(const capd::RxCapability& found, uint8_t vic)
{
    return vic < 64 && (found.VDOMode[vic / 8] >> vic % 8 & 1) != 0;
}

/** Whether the identifier of HDMI stands anywhere in an extension that the driver reads. */
bool holds_hdmi_identifier(const emu::EdidImage& edid)
{
    static constexpr uint8_t oui[] = {0x03, 0x0C, 0x00};
    const size_t end = std::min(edid.size(), MOST_BLOCKS * EDID_BLOCK);
    if (end <= EDID_BLOCK) return false;
    const auto first = edid.begin() + EDID_BLOCK, last = edid.begin() + static_cast<std::ptrdiff_t>(end);
    return std::search(first, last, std::begin(oui), std::end(oui)) != last;
}

void read_display(const emu::EdidImage& edid)
{
    emu::Box& box = emu::inprocess_box();
    box.transmitter().plug({"fuzz", edid});
    callbacks = 0;
    const emu::Micros start = box.time().now();
    const int result = capd::ParseEDID();
    const capd::RxCapability& found = capd::hdmitx_rx_capability();
    const bool hdmi = (found.flags & capd::RX_VALID_HDMI) != 0;
    require(box.time().now() - start <= LONGEST_READ, "reading took longer than a millisecond a byte");
    require(result == 0 || result == 1, "result");
    require(callbacks == (hdmi ? 1 : 0), "one callback for an HDMI display, none for another");
    require(!hdmi || holds_hdmi_identifier(edid), "HDMI without its identifier");
    require(!hdmi || (found.flags & capd::RX_VALID_CEA) != 0, "HDMI without an extension");
    const bool cea = (found.flags & capd::RX_VALID_CEA) != 0;
    require(!cea || found.NativeVIC == capd::NO_NATIVE_VIC || has_vic(found, found.NativeVIC), "native VIC not listed");
    require(found.AUDDesCount <= 10, "more audio descriptors than a data block holds");
}

emu::EdidImage repaired(emu::EdidImage edid)
{
    static constexpr uint8_t header[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
    edid.resize(std::max(edid.size(), EDID_BLOCK));
    std::copy(std::begin(header), std::end(header), edid.begin());
    emu::edid_fix_checksum(edid, 0);
    return edid;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1; // the driver prints every block
    capd::hdmitx_init();
    capd::hdmitx_set_edid_callback(count_callback);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const emu::EdidImage edid(data, data + size);
    read_display(edid);
    const emu::EdidImage good = repaired(edid);
    if (good != edid) read_display(good);
    return 0;
}
