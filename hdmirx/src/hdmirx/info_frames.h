/**
 * @file
 * The info frames that the chip holds, for the status report. Main thread only; a frame is two or three transfers.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd::rx {

/** Type, version, length, checksum and data bytes; room for the 31 that a frame's length field can announce. */
using InfoFrame = std::array<uint8_t, 35>;

/** Read the AVI info frame. @return 1 */
int GetAVIInfoFrame(InfoFrame& frame);

/** Read the audio info frame; data bytes after the fifth are not kept by the chip and read as 0. @return 1 */
int GetAudioInfoFrame(InfoFrame& frame);

/** Read the vendor-specific info frame. @return 1; 0 when none is held, with frame cleared */
int GetVENDORSPECInfoFrame(InfoFrame& frame);

} // namespace capd::rx
