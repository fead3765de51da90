#include "hdmitx/state.h"

namespace capd {

HdmitxInstance hdmitx_instance;
HdmitxVideoState hdmitx_video;
HdmitxAudioState hdmitx_audio;
HdmitxHotPlug hdmitx_hot_plug;

uint32_t hdmitx_tmds_clock()
{
    return hdmitx_video.ulPixelClock * (hdmitx_video.bPixelRep + 1u);
}

} // namespace capd
