#include "updates/sparkle_framework_error.h"

#include <utility>

namespace tarnel {

SparkleFrameworkError::SparkleFrameworkError(QString domain, int code, QString description,
                                             std::optional<SparkleAppcastItem> latestAppcastItem,
                                             bool hasUnderlyingError)
    : errorDomainName(std::move(domain)),
      errorCode(code),
      text(std::move(description)),
      latestItem(std::move(latestAppcastItem)),
      underlying(hasUnderlyingError),
      utf8Description(text.toUtf8()) {}

}  // namespace tarnel
