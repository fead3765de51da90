// output regs, edid, display: the transmitter and the display on it. The chip's set-up is left alone; but reading the
// EDID uses its DDC master and the register dump its second bank, which a running daemon uses for a moment after a
// display was plugged in.
#include "tools/commands.h"
#include "tools/display.h"
#include "tools/names.h"

#include "devaccess/i2c.h"
#include "hdmitx/access.h"
#include "hdmitx/ddc.h"
#include "hdmitx/display_edid.h"
#include "hdmitx/registers.h"

#include <algorithm>
#include <array>
#include <utility>

namespace boxtool {

namespace {

constexpr size_t MOST_BLOCKS = 1 + 4; // extensions: as many as the daemon reads
constexpr uint8_t HDMI_MODE_HDMI = 0x01;
constexpr int TMDS_STEP_MHZ = 5; // unit of the display's highest clock

/** A bank's registers; null for those below the first one, and for the FIFO that reading would empty. */
Json read_bank(uint8_t bank, size_t first)
{
    Json values = Json::array();
    capd::hdmitx_SwitchBank(bank);
    for (size_t reg = 0; reg < 256; ++reg) {
        const bool left_out = reg < first || reg == capd::txreg::DDC_FIFO;
        values.push_back(left_out ? Json() : Json(capd::hdmitx_ReadReg(static_cast<uint8_t>(reg))));
    }
    capd::hdmitx_SwitchBank(0);
    return values;
}

std::string bank_grid(const Json& values, size_t first)
{
    std::vector<Cell> cells;
    for (size_t reg = first; reg < values.size(); ++reg)
        cells.push_back(values[reg].is_null() ? CELL_MISSING : cell(values[reg].get<uint8_t>()));
    return hex_grid(cells, static_cast<unsigned>(first));
}

void show_registers(Session& session)
{
    constexpr size_t BANK1_FIRST = 0x30; // those below are the same in both banks
    need_transmitter();
    const Json bank0 = read_bank(0, 0), bank1 = read_bank(1, BANK1_FIRST);
    session.say("bank 0\n%sbank 1\n%s", bank_grid(bank0, 0).c_str(), bank_grid(bank1, BANK1_FIRST).c_str());
    session.report({{"bank0", bank0}, {"bank1", bank1}});
}

void throw_faults(const std::string& faults)
{
    if (!faults.empty()) throw Refused("the display's EDID is wrong: " + faults);
}

void show_edid(Session& session, const std::string& path)
{
    const auto [edid, faults] = read_display_edid();
    if (!path.empty()) write_file(session, path, edid);
    session.say("%s%s\n", hex_grid(edid).c_str(), edid_verdict(faults).c_str());
    session.report({{"blocks", edid.size() / EDID_BLOCK_SIZE}, {"edid", hex_digits(edid)}, {"faults", faults}});
    throw_faults(faults);
}

/** The names in a list, or the numbers, in one text. */
std::string listed(const Json& values, const char* unit, const char* none)
{
    std::string text;
    for (const Json& value : values)
        text += (text.empty() ? "" : ", ") + (value.is_string() ? value.get<std::string>() : value.dump());
    return text.empty() ? none : text + unit;
}

void tell_video(Session& session, const capd::RxCapability& display)
{
    Json codes = Json::array();
    const char* label = "video formats";
    for (unsigned code = 0; code < display.VDOMode.size() * 8; ++code) {
        if ((display.VDOMode[code / 8] >> (code % 8) & 1) == 0) continue;
        const bool native = code == display.NativeVIC;
        session.row(label, format("VIC %2u  %s%s", code, video_format(code).c_str(), native ? ", native" : ""));
        codes.push_back(code);
        label = "";
    }
    const bool has_native = display.NativeVIC != capd::NO_NATIVE_VIC;
    session.report({{"video_codes", codes}, {"native_code", has_native ? Json(display.NativeVIC) : Json()}});
}

void tell_audio(Session& session, const capd::RxCapability& display)
{
    const bool basic = (display.CEAFlags & capd::CEA_BASIC_AUDIO) != 0;
    const Json speakers = speaker_names(display.SpeakerAlloc);
    session.row("basic audio", yes_no(basic));
    Json descriptors = Json::array();
    const char* label = "sound";
    for (size_t i = 0; i < std::min<size_t>(display.AUDDesCount, display.AUDDes.size()); ++i) {
        session.row(label, audio_descriptor_text(display.AUDDes[i]));
        descriptors.push_back(audio_descriptor_values(display.AUDDes[i]));
        label = "";
    }
    session.row("speakers", listed(speakers, "", "not told"));
    session.report({{"basic_audio", basic}, {"audio_descriptors", descriptors}, {"speakers", speakers}});
}

void tell_colours(Session& session, const capd::RxCapability& display)
{
    const bool yuv444 = (display.CEAFlags & capd::CEA_YUV444) != 0, yuv422 = (display.CEAFlags & capd::CEA_YUV422) != 0;
    session.row("colours", std::string("RGB") + (yuv444 ? ", YCbCr 4:4:4" : "") + (yuv422 ? ", YCbCr 4:2:2" : ""));
    session.report({{"ycbcr444", yuv444}, {"ycbcr422", yuv422}});
}

void tell_hdmi(Session& session, const capd::RxCapability& display)
{
    const std::string address = format("%u.%u.%u.%u", display.PhysAddr[0] >> 4, display.PhysAddr[0] & 15U,
                                       display.PhysAddr[1] >> 4, display.PhysAddr[1] & 15U);
    const Json deep = deep_colour_bits(display.DCFlags);
    const int clock = display.MaxTMDSClock * TMDS_STEP_MHZ;
    const bool three_d = (display.flags & capd::RX_VALID_3D) != 0;
    session.row("physical address", address);
    session.row("deep colour", listed(deep, " bits", "no"));
    session.row("highest TMDS clock", clock == 0 ? "not told" : format("%d MHz", clock));
    session.row("3D", yes_no(three_d));
    session.report({{"physical_address", address},
                    {"deep_colour_bits", deep},
                    {"max_tmds_mhz", clock == 0 ? Json() : Json(clock)},
                    {"3d", three_d}});
}

/** What the EDID says; parsed by the driver in this process, so the box's own copy is left alone. */
void tell_capabilities(Session& session)
{
    const std::string faults = read_display_edid().faults;
    capd::ParseEDID();
    const capd::RxCapability& display = capd::hdmitx_rx_capability();
    const bool hdmi = (display.flags & capd::RX_VALID_HDMI) != 0;
    session.row("EDID", edid_verdict(faults));
    session.row("kind", hdmi ? "HDMI" : "DVI");
    session.report({{"faults", faults}, {"hdmi", hdmi}});
    if ((display.flags & capd::RX_VALID_CEA) != 0) {
        tell_video(session, display);
        tell_audio(session, display);
        tell_colours(session, display);
    }
    if (hdmi) tell_hdmi(session, display);
    throw_faults(faults);
}

void show_display(Session& session)
{
    need_transmitter();
    capd::hdmitx_SwitchBank(0);
    const bool connected = display_connected();
    const bool hdmi = (capd::hdmitx_ReadReg(capd::txreg::HDMI_MODE) & HDMI_MODE_HDMI) != 0;
    const bool blanked = (capd::hdmitx_ReadReg(capd::txreg::GENERAL_CTRL) & capd::txreg::AV_MUTE) != 0;
    session.row("connected", yes_no(connected));
    session.row("output mode", hdmi ? "HDMI" : "DVI");
    session.row("blanked", yes_no(blanked));
    session.report({{"connected", connected}, {"output_mode", hdmi ? "HDMI" : "DVI"}, {"blanked", blanked}});
    if (connected) tell_capabilities(session);
}

} // namespace

void need_transmitter()
{
    need_chip(capd::I2C_TRANSMITTER, "HDMI transmitter");
}

bool display_connected()
{
    return (capd::hdmitx_ReadReg(capd::txreg::SYS_STATUS) & capd::txreg::SYS_HOT_PLUG) != 0;
}

DisplayEdid read_display_edid()
{
    need_transmitter();
    if (!display_connected()) throw Refused("no display is connected");
    Bytes edid;
    size_t blocks = 1;
    for (size_t block = 0; block < blocks; ++block) {
        std::array<uint8_t, EDID_BLOCK_SIZE> bytes{};
        if (capd::getHDMITX_EDIDBlock(static_cast<int>(block), bytes.data()) == 0) break;
        edid.insert(edid.end(), bytes.begin(), bytes.end());
        blocks = edid_blocks(edid, MOST_BLOCKS);
    }
    if (edid.empty()) throw Refused("the display does not give block 0 of its EDID");
    return {edid, edid_faults(edid, MOST_BLOCKS)};
}

Bytes read_whole_display_edid()
{
    DisplayEdid edid = read_display_edid();
    if (edid.bytes.size() < edid_blocks(edid.bytes, MOST_BLOCKS) * EDID_BLOCK_SIZE) throw_faults(edid.faults);
    return std::move(edid.bytes);
}

void add_output_commands(Commands& commands)
{
    CLI::App& group = commands.group("output", "The HDMI transmitter and the display on it", HEADING_HDMI);
    commands.add(group, "regs", "Dump the transmitter's registers, both banks", DEVICE).run(show_registers);

    Command& edid = commands.add(group, "edid", "Read the display's EDID over DDC", DEVICE);
    const auto path = edid.output_file("--file", false, "write the bytes to a file too");
    edid.run([=](Session& session) { show_edid(session, *path); });

    commands.add(group, "display", "Show what is known about the connected display", DEVICE).run(show_display);
}

} // namespace boxtool
