#include "hdmitx/tables.h"

#include <cstddef>

#include "hdmitx/registers.h"

namespace capd {

namespace {

constexpr HdmitxRegRow END_ROW = {0, 0, 0};

template<size_t SIZE>
constexpr bool ends_once(const HdmitxRegRow (&table)[SIZE])
{
    for (size_t row = 0; row < SIZE; ++row) {
        const bool is_end = table[row].reg == 0 && table[row].mask == 0 && table[row].value == 0;
        if (is_end != (row == SIZE - 1)) return false;
    }
    return true;
}

// A value outside its mask would be lost.
template<size_t SIZE>
constexpr bool fits_its_masks(const HdmitxRegRow (&table)[SIZE])
{
    for (const HdmitxRegRow& row : table) {
        if ((row.value & ~row.mask) != 0) return false;
    }
    return true;
}

} // namespace

constexpr uint8_t M = txreg::CSC_MATRIX;

// clang-format off
constexpr HdmitxRegRow TX_TABLE_INIT[] = {
    {txreg::SYS_CTRL,    0x40, 0x00},
    {txreg::AFE_62,      0x08, 0x00},
    {txreg::AFE_64,      0x04, 0x00},
    {1,                  0,    0}, // 1 ms
    {txreg::RESET,       txreg::RESET_AFE, txreg::RESET_AFE},
    {txreg::RESET,       txreg::RESET_PATHS, txreg::RESET_PATHS},
    {1,                  0,    0}, // 1 ms
    {txreg::SYS_CTRL,    txreg::SYS_BANK, 0x00},
    {txreg::CTRL_D1,     0x0E, 0x0C},
    {txreg::CTRL_65,     0x03, 0x00},
    {txreg::CTRL_71,     0xFC, 0x18},
    {txreg::CTRL_8D,     0xFF, 0x9C},
    {txreg::SYS_CTRL,    0x08, 0x08},
    {txreg::LOCK,        0xFF, txreg::LOCK_OPEN_1},
    {txreg::LOCK,        0xFF, txreg::LOCK_OPEN_2},
    {txreg::CTRL_20,     0x80, 0x80},
    {txreg::CTRL_37,     0x01, 0x00},
    {txreg::CTRL_20,     0x80, 0x00},
    {txreg::LOCK,        0xFF, txreg::LOCK_CLOSE},
    {txreg::CTRL_59,     0xD8, 0x40},
    {txreg::AUDIO_MODE,  0x20, 0x00},
    {txreg::CTRL_05,     0xC0, 0x40},
    {txreg::INT_MASK_1,  0xFF, 0xFC},
    {txreg::INT_MASK_3,  0xFF, 0xF7},
    {txreg::INT_CLEAR_0, 0xFF, 0xFF},
    {txreg::INT_CLEAR_1, 0xFF, 0xFF},
    {txreg::SYS_STATUS,  0x03, 0x03}, // fires the clear of everything
    {txreg::INT_CLEAR_0, 0xFF, 0x00},
    {txreg::INT_CLEAR_1, 0xFF, 0x00},
    {txreg::SYS_STATUS,  0x02, 0x00},
    {txreg::INT_MASK_1,  0x03, 0x00},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_CONVERTER[] = {
    {txreg::CSC_CTRL,     0xFF, 0x00},
    {txreg::INPUT_FORMAT, 0xFF, 0x00},
    {txreg::CSC_CTRL,     0xFF, 0x02},
    {M, 0xFF, 0x00}, {M + 1, 0xFF, 0x80}, {M + 2, 0xFF, 0x00}, // offsets
    {M + 3, 0xFF, 0xB8}, {M + 4, 0xFF, 0x05}, {M + 5, 0xFF, 0xB4}, {M + 6, 0xFF, 0x01}, {M + 7, 0xFF, 0x93}, {M + 8, 0xFF, 0x00},
    {M + 9, 0xFF, 0x49}, {M + 10, 0xFF, 0x3C}, {M + 11, 0xFF, 0x18}, {M + 12, 0xFF, 0x04}, {M + 13, 0xFF, 0x9F}, {M + 14, 0xFF, 0x3F},
    {M + 15, 0xFF, 0xD9}, {M + 16, 0xFF, 0x3C}, {M + 17, 0xFF, 0x10}, {M + 18, 0xFF, 0x3F}, {M + 19, 0xFF, 0x18}, {M + 20, 0xFF, 0x04},
    {txreg::RESET,        txreg::RESET_VIDEO, 0x00},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_GENERAL[] = {
    {txreg::HDMI_MODE,    0x01, 0x01},
    {txreg::GENERAL_CTRL, 0x03, 0x03}, // starts blanked
    {txreg::CTRL_C6,      0x03, 0x03},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_AVI_INFO_FRAME[] = {
    {txreg::SYS_CTRL,   txreg::SYS_BANK, 0x01},
    {txreg::B1_AVI_1, 0xFF, 0x10}, {txreg::B1_AVI_1 + 1, 0xFF, 0x08}, {txreg::B1_AVI_1 + 2, 0xFF, 0x00}, {txreg::B1_AVI_1 + 3, 0xFF, 0x00}, {txreg::B1_AVI_1 + 4, 0xFF, 0x00},
    {txreg::B1_AVI_CHECKSUM, 0xFF, 0x57}, // checksum
    {txreg::B1_AVI_6, 0xFF, 0x00}, {txreg::B1_AVI_6 + 1, 0xFF, 0x00}, {txreg::B1_AVI_6 + 2, 0xFF, 0x00}, {txreg::B1_AVI_6 + 3, 0xFF, 0x00},
    {txreg::B1_AVI_6 + 4, 0xFF, 0x00}, {txreg::B1_AVI_6 + 5, 0xFF, 0x00}, {txreg::B1_AVI_6 + 6, 0xFF, 0x00}, {txreg::B1_AVI_6 + 7, 0xFF, 0x00},
    {txreg::SYS_CTRL,   txreg::SYS_BANK, 0x00},
    {txreg::AVI_PACKET, 0x03, 0x03},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_AUDIO_INFO_FRAME[] = {
    {txreg::SYS_CTRL,     txreg::SYS_BANK, 0x01},
    {txreg::B1_AUDIO_1, 0xFF, 0x00}, {txreg::B1_AUDIO_1 + 1, 0xFF, 0x00}, {txreg::B1_AUDIO_1 + 2, 0xFF, 0x00}, {txreg::B1_AUDIO_1 + 3, 0xFF, 0x00}, {txreg::B1_AUDIO_1 + 4, 0xFF, 0x00},
    {txreg::B1_AUDIO_CHECKSUM, 0xFF, 0x71}, // checksum
    {txreg::SYS_CTRL,     txreg::SYS_BANK, 0x00},
    {txreg::AUDIO_PACKET, 0x03, 0x03},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_AUDIO_PACKETS[] = {
    {txreg::SYS_CTRL, txreg::SYS_BANK, 0x01},
    {txreg::B1_N, 0xFF, 0x00}, {txreg::B1_N + 1, 0xFF, 0x18}, {txreg::B1_N + 2, 0xFF, 0x00}, // N = 6144
    {txreg::B1_STATUS_MODE, 0xFF, 0x00}, {txreg::B1_STATUS_CATEGORY, 0xFF, 0x00}, {txreg::B1_STATUS_SOURCE, 0xFF, 0x01}, {txreg::B1_STATUS_CHANNEL, 0xFF, 0x00},
    {txreg::B1_STATUS_RATE, 0xFF, 0x02}, {txreg::B1_STATUS_WORD, 0xFF, 0xDA},
    {txreg::SYS_CTRL, txreg::SYS_BANK, 0x00},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_AUDIO_INTERFACE[] = {
    {txreg::SYS_CTRL,     0x11, 0x00},
    {txreg::RESET,        txreg::RESET_AUDIO, txreg::RESET_AUDIO_INPUT},
    {txreg::AUDIO_CTRL,   0xFF, 0xD1},
    {txreg::AUDIO_MODE,   0xFF, 0x01},
    {txreg::AUDIO_MAP,    0xFF, 0xE4},
    {txreg::AUDIO_SOURCE, 0xFF, 0x10},
    {txreg::AUDIO_TYPE_0, 0xFF, 0x00},
    {txreg::AUDIO_TYPE_1, 0xFF, 0x00},
    {txreg::RESET,        txreg::RESET_AUDIO, 0x00},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_POWER_ON[] = {
    {txreg::SYS_CTRL, 0x78, 0x38},
    {txreg::CTRL_05,  0x01, 0x00},
    {txreg::AFE,      0x20, 0x00},
    {txreg::AFE_62,   0x44, 0x00},
    {txreg::AFE_64,   0x40, 0x00},
    {txreg::AFE,      0x10, 0x00},
    {txreg::AFE_62,   0x08, 0x08},
    {txreg::AFE_64,   0x04, 0x04},
    {txreg::SYS_CTRL, 0x78, 0x18},
    END_ROW,
};

constexpr HdmitxRegRow TX_TABLE_POWER_DOWN[] = {
    {txreg::SYS_CTRL, 0x40, 0x00},
    {txreg::AFE,      0x10, 0x10},
    {txreg::AFE_62,   0x08, 0x00},
    {txreg::AFE_64,   0x04, 0x00},
    {1,               0,    0}, // 1 ms
    {txreg::AFE,      0x20, 0x20},
    {txreg::AFE_62,   0x44, 0x44},
    {txreg::AFE_64,   0x40, 0x40},
    {txreg::CTRL_05,  0x01, 0x01},
    {txreg::SYS_CTRL, 0x40, 0x40},
    END_ROW,
};
// clang-format on

static_assert(ends_once(TX_TABLE_INIT) && fits_its_masks(TX_TABLE_INIT));
static_assert(ends_once(TX_TABLE_CONVERTER) && fits_its_masks(TX_TABLE_CONVERTER));
static_assert(ends_once(TX_TABLE_GENERAL) && fits_its_masks(TX_TABLE_GENERAL));
static_assert(ends_once(TX_TABLE_AVI_INFO_FRAME) && fits_its_masks(TX_TABLE_AVI_INFO_FRAME));
static_assert(ends_once(TX_TABLE_AUDIO_INFO_FRAME) && fits_its_masks(TX_TABLE_AUDIO_INFO_FRAME));
static_assert(ends_once(TX_TABLE_AUDIO_PACKETS) && fits_its_masks(TX_TABLE_AUDIO_PACKETS));
static_assert(ends_once(TX_TABLE_AUDIO_INTERFACE) && fits_its_masks(TX_TABLE_AUDIO_INTERFACE));
static_assert(ends_once(TX_TABLE_POWER_ON) && fits_its_masks(TX_TABLE_POWER_ON));
static_assert(ends_once(TX_TABLE_POWER_DOWN) && fits_its_masks(TX_TABLE_POWER_DOWN));

} // namespace capd
