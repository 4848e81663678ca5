#include "platform/appcast/appcast_engine_settings.h"

namespace tarnel {

AppcastEngineSettings AppcastEngineSettings::of(const SystemLayout& layout) {
    return AppcastEngineSettings{.systemVersion = layout.systemVersion,
                                 .preferredLanguages = layout.preferredLanguages,
                                 .temporaryDirectory = layout.temporaryDirectory,
                                 .dataDirectory = layout.dataDirectory};
}

}  // namespace tarnel
