#include "hdmirx/src/hdmirx/info_frames.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/registers.h"

namespace capd::rx {

int GetAVIInfoFrame(InfoFrame& frame)
{
    static constexpr int LENGTH = 13;
    frame = {AVI_TYPE, ReadRxReg(REG_RX_AVI_VERSION), LENGTH};
    ReadRxBlock(REG_RX_AVI_SUM, &frame[3], 1 + LENGTH);
    return 1;
}

int GetAudioInfoFrame(InfoFrame& frame)
{
    static constexpr int KEPT = 5;
    const uint8_t version = ReadRxReg(REG_RX_AUDIO_IF_VERSION);
    frame = {AUDIO_IF_TYPE, version, ReadRxReg(REG_RX_AUDIO_IF_LENGTH)};
    ReadRxBlock(REG_RX_AUDIO_IF_SUM, &frame[3], 1 + KEPT);
    return 1;
}

int GetVENDORSPECInfoFrame(InfoFrame& frame)
{
    frame = {};
    if (ReadRxReg(REG_RX_VSIF_TYPE) != VSIF_TYPE) return 0;
    frame[0] = VSIF_TYPE;
    ReadRxBlock(REG_RX_VSIF_DATA, &frame[1], 30);
    return 1;
}

} // namespace capd::rx
