#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;
using namespace emu::rx;
using bench::box;
using bench::picture;
using Fault = emu::ReceiverChip::Fault;

namespace {

/** Writes to the receiver while something runs: "19=31 19=30 21=00.80.00"; of a block the first four bytes. */
template<class Body>
std::string written(Body&& body)
{
    const uint64_t from = box().i2c().count();
    body();
    std::string text;
    for (uint64_t age = box().i2c().count() - from; age > 0; --age) {
        const emu::Transfer& t = box().i2c().last(static_cast<size_t>(age - 1));
        if (t.device != bench::RECEIVER || t.is_read) continue;
        char byte[8];
        std::snprintf(byte, sizeof byte, "%s%02X=", text.empty() ? "" : " ", t.reg);
        text += byte;
        for (size_t i = 0; i < std::min<size_t>(t.length, t.data.size()); ++i) {
            std::snprintf(byte, sizeof byte, "%s%02X", i == 0 ? "" : ".", t.data[i]);
            text += byte;
        }
    }
    return text;
}

/** Writes of the tick that enters a state. */
std::string written_entering(rx::VideoState state)
{
    std::string text;
    for (int limit = 100; rx::VState() != state && limit > 0; --limit) text = written(bench::tick);
    return text;
}

emu::Signal signal(bool muted, const emu::AudioSignal& audio = {})
{
    emu::Signal s = picture("1080p60", audio);
    s.colorimetry = emu::Colorimetry::Bt709;
    s.muted = muted;
    return s;
}

/** Give registers that share their byte with others some bits that must survive. */
void occupy_other_bits()
{
    static constexpr std::pair<uint8_t, uint8_t> VALUES[] = {
        {REG_PULSE, 0x30}, {REG_CONVERTER, 0x60}, {0x1C, 0x41}, {0x73, 0x05}, {0x77, 0x15},
        {0x7E, 0x80},      {0x87, 0x4F},          {0x88, 0xFF}, {0x3C, 0xFF}, {REG_MASK3, 0x67}};
    for (const auto& [reg, value] : VALUES) rx::WriteRxReg(reg, value);
}

} // namespace

// Catches: a register write that is missing, out of order, or spoils a bit that belongs to something else. The chip
// works through most of these, so that no other test sees them; a source with a marginal clock does.
TEST(ReceiverSequences, EachEventWritesItsRegistersInOrder)
{
    bench::start_receiver();
    occupy_other_bits();
    box().source(0).plug(signal(false));
    EXPECT_EQ(written(bench::tick), "19=31 19=30 89=7F 1F=00 16=07 3C=FB 20=E0 89=3F");
    EXPECT_EQ(written_entering(rx::VSTATE_ColorDetectReset), "19=31 19=30 89=3F 16=07 19=31 19=30 73=0D 73=05");
    EXPECT_EQ(written_entering(rx::VSTATE_SyncChecking), "89=1F A8=81 1F=10");
    EXPECT_EQ(written_entering(rx::VSTATE_VideoOn),
              "89=1F 19=31 19=30 89=1F 16=2F 20=E0 21=00.80.00 24=B8.05.B4.01 20=E2 1C=51 18=64 17=85 16=2F 8C=20 "
              "1C=53 1C=51 89=5F 89=1F 20=E2 20=62 77=15 78=C1 0F=00 78=C1 7E=F0 88=EF 77=95 87=6F 05=24 05=20 18=7C "
              "19=38 19=30 18=7C 89=00");
    bench::ticks(40);
    EXPECT_EQ(written(bench::tick), "0F=00");

    box().source(0).change(signal(true), true);
    EXPECT_EQ(written(bench::tick), "19=F2 19=30 89=1F 20=E2 89=1F 17=85 89=1F 0F=00") << "AV mute set";
    box().source(0).change(signal(false), true);
    EXPECT_EQ(written(bench::tick),
              "19=F2 19=30 89=1F 1C=53 1C=51 89=5F 89=1F 20=E2 20=62 87=7F 87=6F 89=00 17=05 0F=00")
        << "AV mute clear";
    box().receiver().fault(Fault::Fifo);
    EXPECT_EQ(written(bench::tick), "18=FC 18=7C 0F=00") << "audio FIFO";
    box().receiver().fault(Fault::Ecc);
    EXPECT_EQ(written(bench::tick), "19=3C 19=30 19=34 19=30 0F=00") << "ECC error";

    static const std::string error = "19=3C 19=30 89=1F 18=64 0F=00 78=C1 7E=F0 ";
    static const std::string again = "88=EF 77=95 87=6F 05=24 05=20 18=7C 19=38 19=30 18=7C";
    box().receiver().fault(Fault::Audio);
    EXPECT_EQ(written(bench::tick), error + again) << "audio error";
    EXPECT_EQ(written([] { bench::ticks(7); }), "") << "left to settle";
    EXPECT_EQ(written(bench::tick), "89=00") << "and on";
    box().source(0).change(signal(false, {.kind = emu::AudioKind::Hbr, .rate_hz = 768000}), true);
    EXPECT_EQ(written(bench::tick), "18=FC 18=7C " + error + "0F=00 88=EF 78=C0 87=6F 05=24 05=20 19=38 19=30 18=7C");
    bench::ticks(20);
    box().source(0).change(signal(false, {.kind = emu::AudioKind::Dsd}), true);
    EXPECT_EQ(written(bench::tick), "18=FC 18=7C " + error + "87=6F 05=24 05=20 19=38 19=30 18=7C");
    bench::ticks(20);
    box().source(0).change(signal(false), true);
    bench::ticks(60);
    box().receiver().repeat_fault(Fault::Audio, bench::TICK_US);
    bench::ticks(11); // the first comes a tick later
    EXPECT_EQ(written(bench::tick),
              error + "88=EF 77=D5 87=6F 05=24 05=20 7E=C2 7E=C2 7E=C2 7E=C2 18=7C 19=38 19=30 18=7C");
    box().receiver().repeat_fault(Fault::Audio, 0);
    bench::ticks(20);

    static const std::string wait = "1F=00 16=07 3C=FB 20=E2 89=3F";
    EXPECT_EQ(written([] { hdmirx_select_port(0); }), "89=7F 89=7F 89=7F " + wait) << "port switch";
    ASSERT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
    bench::ticks(20);
    box().source(0).set_sync(false);
    EXPECT_EQ(written(bench::tick), "19=31 19=30 89=1F 89=3F " + wait) << "sync loss";
    box().source(0).unplug();
    EXPECT_EQ(written(bench::tick), "19=31 19=30 05=21 89=7F 05=20 07=0C 89=7F") << "5 V off";
}
