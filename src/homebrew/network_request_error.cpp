#include "homebrew/network_request_error.h"

namespace tarnel {

NetworkRequestError::NetworkRequestError(QNetworkReply::NetworkError code, QString platformMessage)
    : std::runtime_error(platformMessage.toStdString()),
      errorCode(code),
      message(std::move(platformMessage)) {}

}  // namespace tarnel
