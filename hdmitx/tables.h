/**
 * @file
 * Constant register tables of the transmitter: start-up and power. Run by hdmitx_LoadRegTable().
 */
#pragma once

#include "hdmitx/access.h"

namespace capd {

extern const HdmitxRegRow TX_TABLE_INIT[];             ///< resets, clock gates, interrupt masks and clear
extern const HdmitxRegRow TX_TABLE_CONVERTER[];        ///< colour converter
extern const HdmitxRegRow TX_TABLE_GENERAL[];          ///< HDMI mode, AV mute set
extern const HdmitxRegRow TX_TABLE_AVI_INFO_FRAME[];   ///< AVI info frame
extern const HdmitxRegRow TX_TABLE_AUDIO_INFO_FRAME[]; ///< audio info frame
extern const HdmitxRegRow TX_TABLE_AUDIO_PACKETS[];    ///< N, and the channel status
extern const HdmitxRegRow TX_TABLE_AUDIO_INTERFACE[];  ///< audio input
extern const HdmitxRegRow TX_TABLE_POWER_ON[];         ///< when a display is plugged in
extern const HdmitxRegRow TX_TABLE_POWER_DOWN[];       ///< when it is unplugged

} // namespace capd
