#include "hdmitx/edid_print.h"

#include <cstdio>

namespace capd {

namespace {

using Modes = decltype(RxCapability::VDOMode);

void print_video(EdidBytes payload, Modes& modes)
{
    bool native_seen = false;
    for (const uint8_t byte : payload) {
        const uint8_t vic = edid_vic(byte);
        if (vic >= EDID_VICS) continue;
        uint8_t& byte_of_vic = modes[vic / 8];
        byte_of_vic = static_cast<uint8_t>(byte_of_vic | 1u << vic % 8);
        printf("VIC = %d, RxCapability.VDOMode[%d]=%02X\n", vic, vic / 8, byte_of_vic);
        if (!edid_vic_is_native(byte) || native_seen) continue;
        native_seen = true;
        printf("native = %d\n", vic);
    }
}

void print_vendor(EdidBytes payload)
{
    if (payload.size() < 3) return; // no room for an identifier
    const uint32_t oui = edid_oui(payload);
    printf("IEEEOUI = %02X %02X %02X %lx", payload[2], payload[1], payload[0], static_cast<unsigned long>(oui));
    const size_t features = oui == HDMI_OUI ? edid_offset_of_3d(payload) : 0;
    if (features != 0) printf("next offset = %d", static_cast<int>(features));
}

void print_data_block(const EdidDataBlock& block, Modes& modes)
{
    switch (block.tag) {
    case EdidTag::Audio: printf("RxCapability.AUDDesCount = %d\n", static_cast<int>(block.payload.size() / 3)); break;
    case EdidTag::Video: print_video(block.payload, modes); break;
    case EdidTag::Vendor: print_vendor(block.payload); break;
    case EdidTag::Speaker: break;
    }
}

} // namespace

void print_edid_block(EdidBlock block)
{
    for (size_t i = 0; i < block.size(); ++i) printf("%02X%c", block[i], i % 8 == 7 ? '\n' : ' ');
}

void print_edid_fault(EdidFault fault)
{
    switch (fault) {
    case EdidFault::None: break;
    case EdidFault::Sum: printf("Edid checksum failed\n"); break;
    case EdidFault::Header: printf("Edid first 8 bytes don't match the edid values\n"); break;
    }
}

void print_cea_extension(EdidBlock extension, const RxCapability& found)
{
    Modes modes{};
    for (EdidDataBlocks blocks(extension); blocks.next();) print_data_block(blocks.block(), modes);
    printf("err = %s\n", "SUCCESS");
    printf("RxCapability.IEEEOUI = %lx\n", static_cast<unsigned long>(found.IEEEOUI));
}

} // namespace capd
