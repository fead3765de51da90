/**
 * @file
 * Remote keys. The board controller keeps the remote's last raw code and flags that it waits; a poll reads the flag
 * and the code and maps it to a key code. Keeps no state between polls. Main thread only; one or two I2C transfers.
 */
#pragma once

namespace capd {

/** Key codes; the values are those of the key tables. 7 to 9 are not used. */
enum KeyCode : int {
    KEYINPUT_NONE = 0,
    KEYINPUT_RECORD = 1,
    KEYINPUT_STOP = 2,
    KEYINPUT_CONFIG_LOW = 3,
    KEYINPUT_CONFIG_HIGH = 4,
    KEYINPUT_PORT_0 = 5,
    KEYINPUT_PORT_1 = 6,
    KEYINPUT_POWER = 10,
};

/** Open the system log and the video node. @return 0, or 1 when the node cannot be opened */
int keyinput_init();

/** Read the remote's raw code. @return 0 to 255; -1 none waits; -2 the status register cannot be read */
int keyinput_read_raw();

/** Poll the remote. @return a KeyCode, KEYINPUT_NONE when there is no key or it is not one of ours */
int keyinput_get_key();

} // namespace capd
