#include "emulator/world/info_frames.h"

#include <numeric>

namespace emu {

uint8_t InfoFrame::sum() const
{
    const unsigned header = unsigned{type} + version + length;
    return static_cast<uint8_t>(std::accumulate(body.begin(), body.begin() + 1 + length, header));
}

InfoFrame compose_avi(const AviFields& fields)
{
    constexpr int ACTIVE_FORMAT_PRESENT = 0x10;
    constexpr int ACTIVE_FORMAT_AS_PICTURE = 0x08;
    InfoFrame frame{.type = FRAME_AVI, .version = 2, .length = 13};
    frame.body[1] = static_cast<uint8_t>(fields.colour << 5 | ACTIVE_FORMAT_PRESENT);
    frame.body[2] = static_cast<uint8_t>(fields.colorimetry << 6 | fields.aspect << 4 | ACTIVE_FORMAT_AS_PICTURE);
    frame.body[3] = static_cast<uint8_t>(fields.extended << 4 | fields.quantization << 2);
    frame.body[4] = fields.vic;
    frame.body[5] = static_cast<uint8_t>(fields.repetition - 1);
    frame.seal();
    return frame;
}

InfoFrame compose_audio(uint8_t channels, uint8_t allocation)
{
    InfoFrame frame{.type = FRAME_AUDIO, .version = 1, .length = 10};
    frame.body[1] = static_cast<uint8_t>(channels - 1);
    frame.body[4] = allocation;
    frame.seal();
    return frame;
}

InfoFrame compose_vendor(const VendorFields& fields)
{
    if (fields.kind == VendorFields::Kind::None) return {};
    InfoFrame frame{.type = FRAME_VENDOR, .version = 1, .length = 5};
    frame.body[1] = 0x03; // HDMI's organisation number 00-0C-03, low byte first
    frame.body[2] = 0x0C;
    frame.body[3] = 0x00;
    if (fields.kind == VendorFields::Kind::Vic) {
        frame.body[4] = 1 << 5;
        frame.body[5] = fields.value;
    } else {
        frame.body[4] = 2 << 5;
        frame.body[5] = static_cast<uint8_t>(fields.value << 4);
        if (fields.value >= 8) frame.length = 6; // these structures carry their sub-sampling in one byte more
    }
    frame.seal();
    return frame;
}

} // namespace emu
