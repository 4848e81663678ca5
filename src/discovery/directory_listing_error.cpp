#include "discovery/directory_listing_error.h"

namespace tarnel {

DirectoryListingError::DirectoryListingError(QString path, QString reason)
    : std::runtime_error(QStringLiteral("Could not list %1: %2").arg(path, reason).toStdString()),
      folder(std::move(path)),
      systemReason(std::move(reason)) {}

}  // namespace tarnel
