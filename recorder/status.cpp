#include "recorder/status.h"

namespace capd {

constinit DaemonSettings settings;
constinit RecorderStatus status;

} // namespace capd
