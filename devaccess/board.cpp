#include "devaccess/board.h"

#include "devaccess/board_registers.h"
#include "devaccess/i2c.h"

namespace capd {

int board_enable_hdmitx()
{
    return i2c_write_board(BOARD_CONTROL, i2c_read_board(BOARD_CONTROL) | BOARD_OUTPUT_ENABLE);
}

int board_disable_hdmitx()
{
    return i2c_write_board(BOARD_CONTROL, i2c_read_board(BOARD_CONTROL) & ~BOARD_OUTPUT_ENABLE);
}

int board_select_hdmirx_port(int port)
{
    int control = i2c_read_board(BOARD_CONTROL);
    if (port == 0) control = (control & ~BOARD_PORTS) | BOARD_PORT_0;
    if (port == 1) control = (control & ~BOARD_PORTS) | BOARD_PORT_1;
    return i2c_write_board(BOARD_CONTROL, control | BOARD_PORT_CHOSEN);
}

int board_get_hdmirx_port()
{
    const int control = i2c_read_board(BOARD_CONTROL);
    if ((control & BOARD_PORT_0) != 0) return 0;
    if ((control & BOARD_PORT_1) != 0) return 1;
    return -1;
}

} // namespace capd
