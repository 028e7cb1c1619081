/// The message of a copy whose destination is missing.
#pragma once

namespace qo {

/// Logs it. copy_bounded() does for a null destination, and so do the decoders that find their own
/// fresh allocation null.
void log_null_destination();

}  // namespace qo
