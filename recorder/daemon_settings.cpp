#include "recorder/daemon_settings.h"

namespace capd {

constinit DaemonSettings settings;

} // namespace capd
