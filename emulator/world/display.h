/**
 * @file
 * A display on the output: its EDID as the DDC bus sees it, and what it can show.
 * One thread at a time; no call blocks.
 */
#pragma once

#include "emulator/world/display_limits.h"
#include "emulator/world/display_sound.h"
#include "emulator/world/edid_builder.h"

#include <cstdint>
#include <string>

namespace emu {

/** What a display takes, as its EDID says; all off where the header is broken, an extension counts with its sum right.
 */
struct DisplayAbilities {
    std::string product; ///< name in the base block
    bool hdmi = false;   ///< else DVI
    bool basic_audio = false, yuv444 = false, yuv422 = false;
    uint8_t depth_bits = 8; ///< per colour, the most that it takes
};

class Display {
public:
    /** Nothing plugged in. */
    Display() = default;
    /** A display by the name under which it was plugged in; its EDID may have any number of blocks and any content. */
    Display(std::string name, EdidImage edid);

    bool plugged() const { return plugged_; }
    const std::string& name() const { return name_; }
    const EdidImage& edid() const { return edid_; }
    const DisplayAbilities& abilities() const { return abilities_; }
    const DisplayLimits& limits() const { return limits_; }
    const AudioDescriptors& audio() const { return audio_; }

    /** Send it to standby or wake it up: it keeps hot plug high and answers DDC, with its terminators off. */
    void stand_by(bool on) { standby_ = on; }
    bool standby() const { return standby_; }

    /** Whether its EDID memory knows the segment pointer: those with no more than two blocks have no use for it. */
    bool knows_segments() const { return plugged_ && edid_.size() > 2 * EDID_BLOCK; }

    /** A byte of its EDID memory; behind the image it reads as an erased one. */
    uint8_t edid_byte(size_t position) const { return position < edid_.size() ? edid_[position] : uint8_t{0xFF}; }

private:
    bool plugged_ = false, standby_ = false;
    std::string name_;
    EdidImage edid_;
    DisplayAbilities abilities_;
    DisplayLimits limits_;
    AudioDescriptors audio_;
};

} // namespace emu
