#include "hdmitx/ddc.h"

#include <cstdio>

#include "hdmitx/access.h"
#include "hdmitx/hdmitx_corrections.h"
#include "hdmitx/registers.h"

namespace capd {

namespace {

constexpr int ABORTS = 2;           // the second ends what the first one left half done
constexpr int ABORT_POLLS = 200;    // 1 ms each
constexpr int MASTER_POLLS = 200;   // without a wait
constexpr int TRANSFER_POLLS = 250; // 1 ms each

bool is_done(uint8_t status)
{
    return (status & txreg::DDC_DONE) != 0;
}

bool has_failed(uint8_t status)
{
    return (status & txreg::DDC_ERRORS) != 0;
}

bool bus_hangs()
{
    return (hdmitx_ReadReg(txreg::INT_STATUS) & txreg::INT_DDC_HANG) != 0;
}

void report_and_abort()
{
    printf("Called hdmitx_AboutDDC()\n");
    hdmitx_AboutDDC();
}

void report_timeout()
{
    printf("getHDMITX_EDIDBytes(): DDC TimeOut. \n");
    // The master would go on waiting, and so would whoever reads the next EDID.
    if (hdmitx_corrections.displays) report_and_abort();
}

bool wait_for_master()
{
    for (int poll = 0; poll < MASTER_POLLS; ++poll) {
        const uint8_t status = hdmitx_ReadReg(txreg::DDC_STATUS);
        if (is_done(status)) return true;
        if (has_failed(status) || bus_hangs()) {
            report_and_abort();
            return false;
        }
    }
    report_timeout();
    return false;
}

void start_transfer(uint8_t segment, uint8_t offset)
{
    hdmitx_WriteReg(txreg::DDC_MASTER, txreg::DDC_MASTER_HOST);
    hdmitx_WriteReg(txreg::DDC_SLAVE, txreg::DDC_SLAVE_EDID);
    hdmitx_WriteReg(txreg::DDC_OFFSET, offset);
    hdmitx_WriteReg(txreg::DDC_COUNT, 1);
    hdmitx_WriteReg(txreg::DDC_SEGMENT, segment);
    hdmitx_WriteReg(txreg::DDC_COMMAND, txreg::DDC_EDID_READ);
}

bool wait_for_transfer()
{
    for (int poll = 0; poll < TRANSFER_POLLS; ++poll) {
        hdmitx_DelayMs(1);
        const uint8_t status = hdmitx_ReadReg(txreg::DDC_STATUS);
        if (is_done(status)) return true;
        if (has_failed(status)) {
            printf("getHDMITX_EDIDBytes(): DDC_STATUS = %02X,fail.\n", status);
            return false;
        }
    }
    report_timeout();
    return false;
}

} // namespace

void hdmitx_ClearDDCFIFO()
{
    hdmitx_WriteReg(txreg::DDC_MASTER, txreg::DDC_MASTER_HOST);
    hdmitx_WriteReg(txreg::DDC_COMMAND, txreg::DDC_FIFO_CLEAR);
}

void hdmitx_AboutDDC()
{
    hdmitx_WriteReg(txreg::DDC_MASTER, txreg::DDC_MASTER_HOST);
    for (int attempt = 0; attempt < ABORTS; ++attempt) {
        hdmitx_WriteReg(txreg::DDC_COMMAND, txreg::DDC_ABORT);
        for (int poll = 0; poll < ABORT_POLLS; ++poll) {
            const uint8_t status = hdmitx_ReadReg(txreg::DDC_STATUS);
            if (is_done(status) || has_failed(status)) break;
            hdmitx_DelayMs(1);
        }
    }
}

int getHDMITX_EDIDBytes(uint8_t* buffer, uint8_t segment, uint8_t offset, int count)
{
    if (buffer == nullptr) return 1;
    if (bus_hangs()) report_and_abort();
    hdmitx_ClearDDCFIFO();
    hdmitx_SwitchBank(0);
    for (int i = 0; i < count; ++i) {
        hdmitx_ClearDDCFIFO();
        if (!wait_for_master()) return 1;
        start_transfer(segment, static_cast<uint8_t>(offset + i));
        if (!wait_for_transfer()) return 1;
        buffer[i] = hdmitx_ReadReg(txreg::DDC_FIFO);
    }
    return 0;
}

int getHDMITX_EDIDBlock(int block, uint8_t* buffer)
{
    if (buffer == nullptr) return 0;
    const auto segment = static_cast<uint8_t>(block / 2);
    const auto offset = static_cast<uint8_t>(block % 2 * EDID_BLOCK_SIZE);
    return getHDMITX_EDIDBytes(buffer, segment, offset, EDID_BLOCK_SIZE) == 0 ? 1 : 0;
}

} // namespace capd
