#include "hdmitx/power.h"

#include <cstdio>

#include "devaccess/board.h"
#include "devaccess/video_device.h"
#include "hdmitx/access.h"
#include "hdmitx/hdmitx.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"
#include "hdmitx/tables.h"

namespace capd {

void InitHDMITX()
{
    static constexpr const HdmitxRegRow* TABLES[] = {
        TX_TABLE_INIT,
        TX_TABLE_CONVERTER,
        TX_TABLE_GENERAL,
        TX_TABLE_AVI_INFO_FRAME,
        TX_TABLE_AUDIO_INFO_FRAME,
        TX_TABLE_AUDIO_PACKETS,
        TX_TABLE_AUDIO_INTERFACE,
    };
    for (const HdmitxRegRow* table : TABLES) hdmitx_LoadRegTable(table);
    printf("-----------------------------------------------------\n"
           "Init HDMITX\n"
           "-----------------------------------------------------\n");
    hdmitx_DumpRegs();
}

void hdmitx_PowerOn()
{
    hdmitx_LoadRegTable(TX_TABLE_POWER_ON);
}

void hdmitx_PowerDown()
{
    hdmitx_LoadRegTable(TX_TABLE_POWER_DOWN);
}

int hdmitx_init()
{
    video_device_open();
    const int result = board_enable_hdmitx();
    hdmitx_instance = HDMITX_DEFAULT_INSTANCE;
    hdmitx_hot_plug = {};
    InitHDMITX();
    return result;
}

int hdmitx_blank()
{
    hdmitx_SwitchBank(0);
    const uint8_t control = hdmitx_ReadReg(txreg::GENERAL_CTRL);
    if ((control & txreg::AV_MUTE) != 0) return 0;
    printf("Blanking hdmitx\n");
    hdmitx_WriteReg(txreg::GENERAL_CTRL, control | txreg::AV_MUTE);
    return 0;
}

int hdmitx_unblank()
{
    hdmitx_SwitchBank(0);
    const uint8_t control = hdmitx_ReadReg(txreg::GENERAL_CTRL);
    if ((control & txreg::AV_MUTE) == 0) return 0;
    printf("Unblanking hdmitx\n");
    hdmitx_WriteReg(txreg::GENERAL_CTRL, static_cast<uint8_t>(control & ~txreg::AV_MUTE));
    return 0;
}

} // namespace capd
