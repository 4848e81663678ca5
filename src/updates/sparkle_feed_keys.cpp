#include "updates/sparkle_feed_keys.h"

#include "platform/plain_file_reader.h"
#include "platform/property_list_dictionary.h"
#include "platform/property_list_error.h"
#include "platform/property_list_limits.h"

#include <array>
#include <optional>
#include <variant>

namespace tarnel {

namespace {

constexpr QLatin1StringView vendorInternalFeedHost("swscan.apple.com");
constexpr QLatin1StringView vendorDomainSuffix(".apple.com");

bool isUsableFeedValue(const std::optional<QString>& value) {
    if (!value || value->isEmpty()) {
        return false;
    }
    const bool isWebAddress =
        value->startsWith(QLatin1String("http://")) || value->startsWith(QLatin1String("https://"));
    return isWebAddress && !isVendorInternalFeed(*value);
}

}  // namespace

bool isVendorInternalFeed(const QString& feedURL) {
    return feedURL.contains(vendorInternalFeedHost) || feedURL.contains(vendorDomainSuffix);
}

InfoPlistFeedReading readInfoPlistFeed(const QString& bundlePath) {
    using Outcome = InfoPlistFeedReading::Outcome;
    const auto read = readPlainFile(bundlePath + QStringLiteral("/Contents/Info.plist"),
                                    PropertyListLimits::maximumSize);
    if (const auto* failure = std::get_if<FileReadFailure>(&read)) {
        if (*failure == FileReadFailure::missing) {
            return {Outcome::noInfoPlist, {}};
        }
        return {Outcome::unreadable, QStringLiteral("The file could not be read")};
    }
    try {
        const auto plist = PropertyListDictionary::fromData(std::get<QByteArray>(read));
        static const std::array keys{"SUFeedURL", "SUUpdateServer", "SUAppcastURL", "SPUFeedURL"};
        for (const char* key : keys) {
            if (isUsableFeedValue(plist.text(key))) {
                return {Outcome::usableFeed, {}};
            }
        }
        return {Outcome::noUsableFeed, {}};
    } catch (const PropertyListError& error) {
        if (error.errorCase() == PropertyListError::Case::rootNotDictionary) {
            return {Outcome::noUsableFeed, {}};
        }
        return {Outcome::unreadable, QString::fromUtf8(error.what())};
    }
}

}  // namespace tarnel
