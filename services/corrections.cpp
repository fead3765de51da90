#include "services/corrections.h"

namespace capd {

constinit ServiceCorrections service_corrections;

} // namespace capd
