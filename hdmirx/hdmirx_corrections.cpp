#include "hdmirx/hdmirx_corrections.h"

namespace capd {

constinit HdmirxCorrections hdmirx_corrections;

} // namespace capd
