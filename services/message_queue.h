/**
 * @file
 * The System V message queue that the box's other programs can send to. Nothing in the daemon's flow reads it. Main
 * thread only; no call waits.
 */
#pragma once

namespace capd {

/** Create or open the queue. @return 0, or minus errno */
int runner_init();

/** Take the first waiting message. @param type set on success only. @return 0, or minus errno (-ENOMSG: none waits) */
int runner_receive_message(int* type);

} // namespace capd
