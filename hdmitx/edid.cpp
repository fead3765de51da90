#include "hdmitx/edid.h"

#include <algorithm>
#include <numeric>

namespace capd {

namespace {

constexpr uint8_t CEA_TAG = 0x02;
constexpr uint8_t CEA_REVISION = 0x03;
constexpr size_t CEA_COLLECTION_END = 2; // offset of the byte that says where the data blocks end
constexpr size_t CEA_FLAGS = 3;
constexpr size_t CEA_COLLECTION = 4;
constexpr size_t CEA_CHECKSUM = 127;

constexpr size_t DESCRIPTOR_SIZE = 3;
constexpr size_t SPEAKER_SIZE = 3;
constexpr size_t OUI_SIZE = 3;
constexpr uint8_t DEEP_COLOUR = 0x70;
constexpr uint8_t LATENCY_PRESENT = 0x80;
constexpr uint8_t INTERLACED_LATENCY_PRESENT = 0x40;
constexpr uint8_t VIDEO_FEATURES_PRESENT = 0x20;
constexpr uint8_t FEATURE_3D = 0x80;

void set_flag(RxCapability& capability, uint8_t flag, bool on)
{
    capability.flags = static_cast<uint8_t>(on ? capability.flags | flag : capability.flags & ~flag);
}

void parse_audio(EdidBytes payload, RxCapability& capability)
{
    capability.AUDDesCount = static_cast<uint8_t>(payload.size() / DESCRIPTOR_SIZE);
    const size_t kept = std::min<size_t>(capability.AUDDesCount, capability.AUDDes.size());
    for (size_t i = 0; i < kept; ++i)
        std::ranges::copy(payload.subspan(i * DESCRIPTOR_SIZE, DESCRIPTOR_SIZE), capability.AUDDes[i].begin());
}

void parse_video(EdidBytes payload, RxCapability& capability)
{
    capability.NativeVIC = NO_NATIVE_VIC;
    for (const uint8_t byte : payload) {
        const uint8_t vic = edid_vic(byte);
        if (vic >= EDID_VICS) continue;
        uint8_t& modes = capability.VDOMode[vic / 8];
        modes = static_cast<uint8_t>(modes | 1u << vic % 8);
        if (edid_vic_is_native(byte) && capability.NativeVIC == NO_NATIVE_VIC) capability.NativeVIC = vic;
    }
}

// What an HDMI vendor block says after its identifier; every field from the sixth byte on is optional.
void parse_hdmi_vendor(EdidBytes payload, RxCapability& capability)
{
    const size_t size = payload.size();
    if (size > 4) capability.PhysAddr = {payload[3], payload[4]};
    if (size > 5) capability.DCFlags = payload[5] & DEEP_COLOUR;
    if (size > 6) capability.MaxTMDSClock = payload[6];
    const size_t features = edid_offset_of_3d(payload);
    if (features != 0) set_flag(capability, RX_VALID_3D, features < size && (payload[features] & FEATURE_3D) != 0);
}

void parse_vendor(EdidBytes payload, RxCapability& capability)
{
    if (payload.size() < OUI_SIZE) return;
    capability.IEEEOUI = edid_oui(payload);
    if (capability.IEEEOUI == HDMI_OUI) parse_hdmi_vendor(payload, capability);
}

void parse_data_block(const EdidDataBlock& block, RxCapability& capability)
{
    switch (block.tag) {
    case EdidTag::Audio: parse_audio(block.payload, capability); break;
    case EdidTag::Video: parse_video(block.payload, capability); break;
    case EdidTag::Vendor: parse_vendor(block.payload, capability); break;
    case EdidTag::Speaker:
        if (block.payload.size() == SPEAKER_SIZE) std::ranges::copy(block.payload, capability.SpeakerAlloc.begin());
        break;
    }
}

} // namespace

bool edid_sum_is_right(EdidBlock block)
{
    return std::accumulate(block.begin(), block.end(), 0u) % 256 == 0;
}

void edid_mend_sum(std::span<uint8_t, EDID_BLOCK_SIZE> block)
{
    block.back() = 0;
    block.back() = static_cast<uint8_t>(0u - std::accumulate(block.begin(), block.end(), 0u));
}

EdidFault edid_check(EdidBlock block_0)
{
    if (!edid_sum_is_right(block_0)) return EdidFault::Sum;
    return std::equal(EDID_HEADER.begin(), EDID_HEADER.end(), block_0.begin()) ? EdidFault::None : EdidFault::Header;
}

bool edid_is_cea(EdidBlock extension)
{
    return extension[0] == CEA_TAG && extension[1] == CEA_REVISION;
}

EdidDataBlocks::EdidDataBlocks(EdidBlock extension)
    : extension_(extension), end_(std::min<size_t>(extension[CEA_COLLECTION_END], CEA_CHECKSUM)), at_(CEA_COLLECTION)
{
}

bool EdidDataBlocks::next()
{
    if (at_ >= end_) return false;
    block_.tag = static_cast<EdidTag>(extension_[at_] >> 5);
    const size_t told = extension_[at_] & 0x1F;
    // A speaker block has three bytes by definition, whatever its length says; with less it tells nothing.
    const size_t length = block_.tag == EdidTag::Speaker ? SPEAKER_SIZE : told;
    ++at_;
    block_.payload = extension_.subspan(at_, std::min({length, told, CEA_CHECKSUM - at_}));
    at_ += length;
    return true;
}

uint32_t edid_oui(EdidBytes payload)
{
    if (payload.size() < OUI_SIZE) return 0;
    return payload[0] | uint32_t{payload[1]} << 8 | uint32_t{payload[2]} << 16;
}

size_t edid_offset_of_3d(EdidBytes payload)
{
    if (payload.size() <= 7 || (payload[7] & VIDEO_FEATURES_PRESENT) == 0) return 0;
    const size_t latencies = (payload[7] & LATENCY_PRESENT) != 0 ? 10 : 8;
    return latencies + ((payload[7] & INTERLACED_LATENCY_PRESENT) != 0 ? 2 : 0);
}

bool edid_has_hdmi(EdidBlock extension)
{
    for (EdidDataBlocks blocks(extension); blocks.next();)
        if (blocks.block().tag == EdidTag::Vendor && edid_oui(blocks.block().payload) == HDMI_OUI) return true;
    return false;
}

void edid_parse(EdidBlock extension, RxCapability& capability)
{
    capability.CEAFlags = extension[CEA_FLAGS];
    capability.NativeVIC = NO_NATIVE_VIC;
    capability.VDOMode = {};
    capability.PhysAddr = {};
    for (EdidDataBlocks blocks(extension); blocks.next();) parse_data_block(blocks.block(), capability);
    set_flag(capability, RX_VALID_CEA, true);
    set_flag(capability, RX_VALID_HDMI, capability.IEEEOUI == HDMI_OUI);
}

} // namespace capd
