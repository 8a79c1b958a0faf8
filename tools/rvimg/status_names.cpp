#include "ruvokit/rvstatus.h"
#include "rvimg.h"

namespace rvimg {

const char *status_name(int code) {
  switch (code) {
#define RV_STATUS(name, value, text) \
  case value: return #name;
#define RV_STATUS_LIBRARY_MISSING(name, value) \
  case value: return #name;
#include "ruvokit/rvstatus.def"
#undef RV_STATUS
#undef RV_STATUS_LIBRARY_MISSING
    default: return "(no such code)";
  }
}

}  // namespace rvimg
