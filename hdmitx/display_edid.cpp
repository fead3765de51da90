#include "hdmitx/display_edid.h"

#include "hdmitx/ddc.h"
#include "hdmitx/edid_print.h"
#include "hdmitx/hdmitx.h"
#include "hdmitx/hdmitx_corrections.h"

#include <algorithm>
#include <cstdio>

namespace capd {

namespace {

constexpr int MAX_EXTENSIONS = 4;

std::array<uint8_t, EDID_IMAGE_SIZE> image;          // block 0, and the extension block read last
std::array<uint8_t, EDID_BLOCK_SIZE> hdmi_extension; // the one that made it an HDMI display
RxCapability capability;
hdmitx_edid_callback edid_callback;

EdidBlock block_0()
{
    return std::span(image).first<EDID_BLOCK_SIZE>();
}

EdidBlock extension()
{
    return std::span(image).last<EDID_BLOCK_SIZE>();
}

// What decides between HDMI and DVI never comes from an earlier display; the other fields stay until a block sets them.
void forget_display()
{
    image = {};
    capability.flags = 0;
    capability.DCFlags = 0;
    capability.IEEEOUI = 0;
}

bool is_hdmi()
{
    return (capability.flags & RX_VALID_HDMI) != 0;
}

void read_block_0()
{
    printf("Running getHDMITX_EDIDBlock\n");
    const int result = getHDMITX_EDIDBlock(0, image.data());
    printf("getHDMITX_EDIDBlock return(1=success): %d\n", result);
    print_edid_block(block_0());
}

void take_hdmi_extension()
{
    if (!edid_has_hdmi(extension())) return;
    capability.flags |= RX_VALID_HDMI;
    std::ranges::copy(extension(), hdmi_extension.begin());
}

/** Put together what a source can use: block 0 and the HDMI extension, as if there were no other. */
void compose_image()
{
    std::ranges::copy(hdmi_extension, image.begin() + EDID_BLOCK_SIZE);
    image[EDID_EXTENSION_COUNT] = 1;
    edid_mend_sum(std::span(image).first<EDID_BLOCK_SIZE>());
    edid_mend_sum(std::span(image).last<EDID_BLOCK_SIZE>());
}

// Reads them all, because the source gets the last one; parses up to the first that is HDMI.
int read_extensions(int count)
{
    int result = 1;
    for (int block = 1; block <= count; ++block) {
        result = getHDMITX_EDIDBlock(block, image.data() + EDID_BLOCK_SIZE);
        print_edid_block(extension());
        if (result != 1 || is_hdmi() || !edid_is_cea(extension())) continue;
        edid_parse(extension(), capability);
        // Other vendor blocks may follow HDMI's; such a display would be driven as DVI, without sound.
        if (hdmitx_corrections.displays) take_hdmi_extension();
        print_cea_extension(extension(), capability);
    }
    return result;
}

} // namespace

int ParseEDID()
{
    forget_display();
    read_block_0();
    const EdidFault fault = edid_check(block_0());
    print_edid_fault(fault);
    if (fault != EdidFault::None) return 0;
    const int count = image[EDID_EXTENSION_COUNT];
    printf("Edid blockcount(0x7E) is %d\n", count);
    if (count == 0) return 1;
    const int result = read_extensions(std::min(count, MAX_EXTENSIONS));
    // Block 0 with a last extension of any kind, or with half a block, is no EDID to a source.
    if (is_hdmi() && hdmitx_corrections.displays) compose_image();
    if (is_hdmi() && edid_callback != nullptr) edid_callback(image.data());
    return result;
}

const RxCapability& hdmitx_rx_capability()
{
    return capability;
}

int hdmitx_set_edid_callback(hdmitx_edid_callback callback)
{
    edid_callback = callback;
    return 0;
}

} // namespace capd
