#include "cli/output/local_time.h"

#include <time.h>

namespace zorel::cli {

std::int64_t LocalOffset(std::int64_t moment) {
    const auto seconds = static_cast<time_t>(moment);
    tm local{};
    return ::localtime_r(&seconds, &local) != nullptr ? local.tm_gmtoff : 0;
}

}  // namespace zorel::cli
