/**
 * @file
 * The capture driver's video device node: found once among /dev/video0 to /dev/video63 and kept open for the life of
 * the process. Every hardware access of the daemon that is not a file or a shell line goes through requests on it.
 *
 * Any thread. The first video_device_open() is made by start-up before the LED thread exists; once the node is open,
 * later calls only look at the descriptor. A lookup opens and closes up to 64 nodes, and a second thread that comes
 * meanwhile waits for it.
 */
#pragma once

#include <cstdint>

namespace capd {

constexpr int ANY_BUS = 6; ///< bus argument of lookup_video_device_node() that every node matches

/**
 * Find the video node that reports an instance, type and bus.
 * @param inst, type what the node must report
 * @param bus  the bus it must report, or ANY_BUS
 * @param path receives the node's path, up to 32 characters with the terminator; empty when no node matches
 * @return 0 found, -1 not found
 */
int lookup_video_device_node(int inst, int type, int bus, char* path);

/**
 * Make sure the node is open; only the first success does any work.
 * @return 0 open, 1 it could not be opened (a later call tries again)
 */
int video_device_open();

/** Start-up's first step: open the node. Results as of video_device_open(). */
int sys_init();

/**
 * Issue one request with a record on the open node.
 * @return as of platform::device_request(); -1 with errno EBADF while the node is not open
 */
int video_device_request(uint32_t request, void* record);

} // namespace capd
