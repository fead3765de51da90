/**
 * @file
 * Control register of the board controller: input port, output enable and who may reach the EDID ROM. Main thread
 * only; the read-modify-write is two locked transfers, and nobody else writes that register.
 */
#pragma once

namespace capd {

/** Enable the output. @return 0, or the write's failure result */
int board_enable_hdmitx();

/** Disable the output. @return 0, or the write's failure result */
int board_disable_hdmitx();

/** Select input port 0 or 1; any other port leaves the selection. @return 0, or the write's failure result */
int board_select_hdmirx_port(int port);

/** @return the selected input port 0 or 1, or -1 for none */
int board_get_hdmirx_port();

} // namespace capd
