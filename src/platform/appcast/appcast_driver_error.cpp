#include "platform/appcast/appcast_driver_error.h"

#include "platform/appcast/appcast_item.h"
#include "platform/appcast/update_install_error.h"
#include "platform/appcast/updater_error.h"
#include "platform/https_error.h"

namespace tarnel {

namespace {

const QString frameworkDomain = QString::fromLatin1(SparkleFrameworkError::errorDomain);

SparkleFrameworkError fromUpdaterError(const UpdaterError& error) {
    std::optional<SparkleAppcastItem> latest;
    if (const auto& report = error.noUpdateFoundReport(); report && report->latestItem) {
        latest = driverItem(*report->latestItem);
    }
    return SparkleFrameworkError(frameworkDomain, static_cast<int>(error.code()),
                                 error.description(), std::move(latest),
                                 error.underlyingError().has_value());
}

}  // namespace

SparkleAppcastItem driverItem(const AppcastItem& item) {
    SparkleAppcastItem converted;
    converted.displayVersionString = item.displayVersionString;
    converted.versionString = item.versionString;
    converted.itemDescription = item.itemDescription;
    converted.date = item.date;
    if (item.enclosure) {
        converted.fileURL = item.enclosure->url;
        converted.contentLength = static_cast<std::uint64_t>(item.enclosure->contentLength);
    }
    return converted;
}

SparkleFrameworkError driverError(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const UpdaterError& error) {
        return fromUpdaterError(error);
    } catch (const UpdateInstallError& error) {
        return SparkleFrameworkError(frameworkDomain, error.code(), error.description(),
                                     std::nullopt, false);
    } catch (const HttpsError& error) {
        // The framework reports a download that fails, feed or archive,
        // with the network's own error underneath.
        return SparkleFrameworkError(frameworkDomain,
                                     static_cast<int>(UpdaterError::Code::download),
                                     error.description(), std::nullopt, true);
    } catch (const std::exception& error) {
        return SparkleFrameworkError(frameworkDomain,
                                     static_cast<int>(UpdaterError::Code::installation),
                                     QString::fromUtf8(error.what()), std::nullopt, true);
    }
}

}  // namespace tarnel
