#pragma once

#include "core/log_level.h"

namespace tarnel {

// The platform log: the Qt logging category "app.tarnel.Tarnel.general", with
// INFO as info and WARNING and ERROR as critical, as the platform has no
// warning type of its own.
LogSink qtLogSink();

}  // namespace tarnel
