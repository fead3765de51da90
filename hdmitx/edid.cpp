#include "hdmitx/edid.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "hdmitx/ddc.h"
#include "hdmitx/hdmitx.h"

namespace capd {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::array<uint8_t, 8> EDID_HEADER = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
constexpr size_t EXTENSION_COUNT = 0x7E;
constexpr int MAX_EXTENSIONS = 4;

constexpr uint8_t CEA_TAG = 0x02;
constexpr uint8_t CEA_REVISION = 0x03;
constexpr size_t CEA_COLLECTION_END = 2; // offset of the byte that says where the data blocks end
constexpr size_t CEA_FLAGS = 3;
constexpr size_t CEA_COLLECTION = 4;
constexpr size_t CEA_CHECKSUM = 127;

constexpr uint8_t BLOCK_AUDIO = 1;
constexpr uint8_t BLOCK_VIDEO = 2;
constexpr uint8_t BLOCK_VENDOR = 3;
constexpr uint8_t BLOCK_SPEAKER = 4;

constexpr size_t DESCRIPTOR_SIZE = 3;
constexpr size_t SPEAKER_SIZE = 3;
constexpr uint8_t VIC_NATIVE = 0x80;
constexpr uint8_t VIC_MASK = 0x7F;
constexpr uint8_t VICS = 64; // that VDOMode has a bit for
constexpr uint8_t DEEP_COLOUR = 0x70;
constexpr uint8_t LATENCY_PRESENT = 0x80;
constexpr uint8_t INTERLACED_LATENCY_PRESENT = 0x40;
constexpr uint8_t VIDEO_FEATURES_PRESENT = 0x20;
constexpr uint8_t FEATURE_3D = 0x80;

std::array<uint8_t, EDID_IMAGE_SIZE> image; // block 0, and the extension block read last
RxCapability capability;
hdmitx_edid_callback edid_callback;

uint8_t* extension()
{
    return image.data() + EDID_BLOCK_SIZE;
}

void set_flag(uint8_t flag, bool on)
{
    capability.flags = static_cast<uint8_t>(on ? capability.flags | flag : capability.flags & ~flag);
}

void print_block(const uint8_t* block)
{
    for (int i = 0; i < EDID_BLOCK_SIZE; ++i) printf("%02X%c", block[i], i % 8 == 7 ? '\n' : ' ');
}

void parse_audio(Bytes payload)
{
    capability.AUDDesCount = static_cast<uint8_t>(payload.size() / DESCRIPTOR_SIZE);
    printf("RxCapability.AUDDesCount = %d\n", capability.AUDDesCount);
    const size_t kept = std::min<size_t>(capability.AUDDesCount, capability.AUDDes.size());
    for (size_t i = 0; i < kept; ++i)
        std::copy_n(payload.begin() + static_cast<std::ptrdiff_t>(i * DESCRIPTOR_SIZE), DESCRIPTOR_SIZE,
                    capability.AUDDes[i].begin());
}

void parse_video(Bytes payload)
{
    capability.NativeVIC = NO_NATIVE_VIC;
    for (const uint8_t byte : payload) {
        const uint8_t vic = byte & VIC_MASK;
        if (vic >= VICS) continue;
        uint8_t& modes = capability.VDOMode[vic / 8];
        modes = static_cast<uint8_t>(modes | 1u << vic % 8);
        printf("VIC = %d, RxCapability.VDOMode[%d]=%02X\n", vic, vic / 8, modes);
        if ((byte & VIC_NATIVE) == 0 || capability.NativeVIC != NO_NATIVE_VIC) continue;
        capability.NativeVIC = vic;
        printf("native = %d\n", vic);
    }
}

// What an HDMI vendor block says after its identifier; every field from the sixth byte on is optional.
void parse_hdmi_vendor(Bytes payload)
{
    const size_t size = payload.size();
    if (size > 4) capability.PhysAddr = {payload[3], payload[4]};
    if (size > 5) capability.DCFlags = payload[5] & DEEP_COLOUR;
    if (size > 6) capability.MaxTMDSClock = payload[6];
    if (size <= 7) return;
    const uint8_t present = payload[7];
    size_t features = (present & LATENCY_PRESENT) != 0 ? 10 : 8;
    if ((present & INTERLACED_LATENCY_PRESENT) != 0) features += 2;
    if ((present & VIDEO_FEATURES_PRESENT) == 0) return;
    printf("next offset = %d", static_cast<int>(features));
    set_flag(RX_VALID_3D, features < size && (payload[features] & FEATURE_3D) != 0);
}

void parse_vendor(Bytes payload)
{
    if (payload.size() < 3) return; // no room for an identifier
    capability.IEEEOUI = payload[0] | uint32_t{payload[1]} << 8 | uint32_t{payload[2]} << 16;
    printf("IEEEOUI = %02X %02X %02X %lx", payload[2], payload[1], payload[0],
           static_cast<unsigned long>(capability.IEEEOUI));
    if (capability.IEEEOUI == HDMI_OUI) parse_hdmi_vendor(payload);
}

void parse_data_block(uint8_t tag, Bytes payload)
{
    switch (tag) {
    case BLOCK_AUDIO: parse_audio(payload); break;
    case BLOCK_VIDEO: parse_video(payload); break;
    case BLOCK_VENDOR: parse_vendor(payload); break;
    case BLOCK_SPEAKER:
        if (payload.size() == SPEAKER_SIZE) std::ranges::copy(payload, capability.SpeakerAlloc.begin());
        break;
    default: break;
    }
}

void parse_cea_extension(std::span<const uint8_t, EDID_BLOCK_SIZE> block)
{
    capability.CEAFlags = block[CEA_FLAGS];
    capability.NativeVIC = NO_NATIVE_VIC;
    capability.VDOMode = {};
    capability.PhysAddr = {};
    const size_t end = std::min<size_t>(block[CEA_COLLECTION_END], CEA_CHECKSUM);
    for (size_t i = CEA_COLLECTION; i < end;) {
        const auto tag = static_cast<uint8_t>(block[i] >> 5);
        const size_t told = block[i] & 0x1F;
        // A speaker block has three bytes by definition, whatever its length says; with less it tells nothing.
        const size_t length = tag == BLOCK_SPEAKER ? SPEAKER_SIZE : told;
        ++i;
        parse_data_block(tag, block.subspan(i, std::min({length, told, CEA_CHECKSUM - i})));
        i += length;
    }
    set_flag(RX_VALID_CEA, true);
    printf("err = %s\n", "SUCCESS");
    printf("RxCapability.IEEEOUI = %lx\n", static_cast<unsigned long>(capability.IEEEOUI));
}

bool block_0_is_good()
{
    unsigned int sum = 0;
    for (int i = 0; i < EDID_BLOCK_SIZE; ++i) sum += image[static_cast<size_t>(i)];
    if (sum % 256 != 0) {
        printf("Edid checksum failed\n");
        return false;
    }
    if (!std::equal(EDID_HEADER.begin(), EDID_HEADER.end(), image.begin())) {
        printf("Edid first 8 bytes don't match the edid values\n");
        return false;
    }
    return true;
}

// What decides between HDMI and DVI never comes from an earlier display; the other fields stay until a block sets them.
void forget_display()
{
    image = {};
    capability.flags = 0;
    capability.DCFlags = 0;
    capability.IEEEOUI = 0;
}

void read_block_0()
{
    printf("Running getHDMITX_EDIDBlock\n");
    const int result = getHDMITX_EDIDBlock(0, image.data());
    printf("getHDMITX_EDIDBlock return(1=success): %d\n", result);
    print_block(image.data());
}

// Reads them all, because the source gets the last one; parses up to the first that is HDMI.
int read_extensions(int count)
{
    int result = 1;
    for (int block = 1; block <= count; ++block) {
        result = getHDMITX_EDIDBlock(block, extension());
        print_block(extension());
        const bool found = (capability.flags & RX_VALID_HDMI) != 0;
        if (result != 1 || found || extension()[0] != CEA_TAG || extension()[1] != CEA_REVISION) continue;
        parse_cea_extension(std::span<const uint8_t, EDID_BLOCK_SIZE>(extension(), EDID_BLOCK_SIZE));
        set_flag(RX_VALID_HDMI, capability.IEEEOUI == HDMI_OUI);
    }
    return result;
}

} // namespace

int ParseEDID()
{
    forget_display();
    read_block_0();
    if (!block_0_is_good()) return 0;
    const int count = image[EXTENSION_COUNT];
    printf("Edid blockcount(0x7E) is %d\n", count);
    if (count == 0) return 1;
    const int result = read_extensions(std::min(count, MAX_EXTENSIONS));
    if ((capability.flags & RX_VALID_HDMI) != 0 && edid_callback != nullptr) edid_callback(image.data());
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
