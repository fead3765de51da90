// output regs, edid, display: the transmitter and the display on it. The chip's set-up is left alone; but reading the
// EDID uses its DDC master and the register dump its second bank, which a running daemon uses for a moment after a
// display was plugged in.
#include "tools/commands.h"
#include "tools/display.h"

#include "devaccess/i2c.h"
#include "hdmitx/access.h"
#include "hdmitx/ddc.h"
#include "hdmitx/display_edid.h"
#include "hdmitx/registers.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace boxtool {

namespace {

constexpr int MOST_EXTENSIONS = 4; // as many as the daemon reads
constexpr size_t EXTENSION_COUNT = 0x7e;
constexpr uint8_t HDMI_MODE_HDMI = 0x01;
constexpr int TMDS_STEP_MHZ = 5; // unit of the display's highest clock

Json read_bank(uint8_t bank, int first)
{
    Json values = Json::array();
    capd::hdmitx_SwitchBank(bank);
    for (int reg = 0; reg < 256; ++reg) {
        const bool left_out = reg < first || reg == capd::txreg::DDC_FIFO;
        values.push_back(left_out ? Json() : Json(capd::hdmitx_ReadReg(static_cast<uint8_t>(reg))));
    }
    capd::hdmitx_SwitchBank(0);
    return values;
}

void show_registers(Session& session)
{
    constexpr int BANK1_FIRST = 0x30; // those below are the same in both banks
    need_transmitter();
    if (session.json())
        session.report({{"bank0", read_bank(0, 0)}, {"bank1", read_bank(1, BANK1_FIRST)}});
    else
        capd::hdmitx_DumpRegs();
}

void show_edid(Session& session, const std::string& path)
{
    need_transmitter();
    const Bytes edid = read_display_edid();
    const std::string faults = edid_faults(edid);
    if (!path.empty()) write_file(path, edid);
    session.say("%s%s\n", hex_dump(edid).c_str(), faults.empty() ? "header and checksums are right" : faults.c_str());
    session.report({{"blocks", edid.size() / EDID_BLOCK_SIZE}, {"edid", hex_digits(edid)}, {"faults", faults}});
}

Json video_codes(const capd::RxCapability& display)
{
    Json codes = Json::array();
    for (size_t code = 0; code < display.VDOMode.size() * 8; ++code)
        if ((display.VDOMode[code / 8] >> (code % 8) & 1) != 0) codes.push_back(code);
    return codes;
}

Json audio_descriptors(const capd::RxCapability& display)
{
    Json descriptors = Json::array();
    const size_t held = std::min<size_t>(display.AUDDesCount, display.AUDDes.size());
    for (size_t i = 0; i < held; ++i) descriptors.push_back(hex_digits(display.AUDDes[i]));
    return descriptors;
}

/** What the EDID says; parsed by the driver in this process, so the box's own copy is left alone. */
Json capabilities()
{
    const bool parsed = capd::ParseEDID() != 0;
    const capd::RxCapability& display = capd::hdmitx_rx_capability();
    Json values = {{"edid_ok", parsed}, {"hdmi", (display.flags & capd::RX_VALID_HDMI) != 0}};
    if ((display.flags & capd::RX_VALID_CEA) == 0) return values;
    values["basic_audio"] = (display.CEAFlags & capd::CEA_BASIC_AUDIO) != 0;
    values["ycbcr444"] = (display.CEAFlags & capd::CEA_YUV444) != 0;
    values["ycbcr422"] = (display.CEAFlags & capd::CEA_YUV422) != 0;
    values["video_codes"] = video_codes(display);
    values["native_code"] = display.NativeVIC == capd::NO_NATIVE_VIC ? Json() : Json(display.NativeVIC);
    values["audio_descriptors"] = audio_descriptors(display);
    values["speakers"] = hex_digits(display.SpeakerAlloc);
    if ((display.flags & capd::RX_VALID_HDMI) == 0) return values;
    values["physical_address"] = format("%u.%u.%u.%u", display.PhysAddr[0] >> 4, display.PhysAddr[0] & 15U,
                                        display.PhysAddr[1] >> 4, display.PhysAddr[1] & 15U);
    values["deep_colour"] = format("0x%02x", display.DCFlags);
    values["max_tmds_mhz"] = display.MaxTMDSClock * TMDS_STEP_MHZ;
    values["3d"] = (display.flags & capd::RX_VALID_3D) != 0;
    return values;
}

void show_display(Session& session)
{
    need_transmitter();
    capd::hdmitx_SwitchBank(0);
    const bool connected = display_connected();
    Json values = {{"connected", connected}};
    values["output_mode"] = (capd::hdmitx_ReadReg(capd::txreg::HDMI_MODE) & HDMI_MODE_HDMI) != 0 ? "HDMI" : "DVI";
    values["blanked"] = (capd::hdmitx_ReadReg(capd::txreg::GENERAL_CTRL) & capd::txreg::AV_MUTE) != 0;
    if (connected) values.update(capabilities());
    for (const auto& [name, value] : values.items()) session.say("%-18s %s\n", name.c_str(), value.dump().c_str());
    session.report(values);
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

Bytes read_display_edid()
{
    if (!display_connected()) throw Refused("no display is connected");
    Bytes edid(EDID_BLOCK_SIZE);
    int extensions = 0;
    for (int block = 0; block <= extensions; ++block) {
        edid.resize((static_cast<size_t>(block) + 1) * EDID_BLOCK_SIZE);
        if (capd::getHDMITX_EDIDBlock(block, &edid[edid.size() - EDID_BLOCK_SIZE]) == 0)
            throw Refused(format("the display does not give block %d of its EDID", block));
        extensions = std::min<int>(edid[EXTENSION_COUNT], MOST_EXTENSIONS);
    }
    return edid;
}

void add_output_commands(Commands& commands)
{
    CLI::App& group = commands.group("output", "The HDMI transmitter and the display on it", HEADING_HDMI);
    commands.add(group, "regs", "Dump the transmitter's registers, both banks", REPORTS | DEVICE).run(show_registers);

    Command& edid = commands.add(group, "edid", "Read the display's EDID over DDC", REPORTS | DEVICE | OWN_TEXT);
    const auto path = edid.optional_file("--file", "write the bytes to a file too");
    edid.run([=](Session& session) { show_edid(session, *path); });

    commands.add(group, "display", "Show what is known about the connected display", REPORTS | DEVICE | OWN_TEXT)
        .run(show_display);
}

} // namespace boxtool
