#include "hdmitx/hdmitx_corrections.h"

namespace capd {

constinit HdmitxCorrections hdmitx_corrections;

} // namespace capd
