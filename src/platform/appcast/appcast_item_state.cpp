#include "platform/appcast/appcast_item_state.h"

#include "platform/appcast/standard_version_comparator.h"

#include <algorithm>

namespace tarnel {

namespace {

// An empty limit is no limit.
bool isBelow(const QString& version, const QString& limit) {
    return !limit.isEmpty() && compareStandardVersions(version, limit) < 0;
}

bool isInformationOnly(const AppcastItem& item, const QString& hostVersion) {
    if (!item.infoURL) {
        return false;
    }
    if (!item.enclosure) {
        return true;
    }
    if (!item.informationalUpdate) {
        return false;
    }
    const InformationalUpdateRule& rule = *item.informationalUpdate;
    if (rule.versions.isEmpty() && rule.belowVersions.isEmpty()) {
        return true;
    }
    return rule.versions.contains(hostVersion) ||
           std::any_of(rule.belowVersions.begin(), rule.belowVersions.end(),
                       [&](const QString& below) { return isBelow(hostVersion, below); });
}

// Systems from 27 on run only on Apple silicon, so such a minimum implies it.
bool requiresAppleSilicon(const AppcastItem& item) {
    const bool isListed =
        std::any_of(item.hardwareRequirements.begin(), item.hardwareRequirements.end(),
                    [](const QString& requirement) {
                        return requirement.compare(u"arm64", Qt::CaseInsensitive) == 0;
                    });
    return isListed ||
           (!item.minimumSystemVersion.isEmpty() &&
            compareStandardVersions(item.minimumSystemVersion, QStringLiteral("27.0")) >= 0);
}

}  // namespace

AppcastItemState resolveAppcastItemState(const AppcastItem& item,
                                         const AppcastCheckContext& context) {
    const QString& host = context.hostVersion;
    AppcastItemState state;
    state.isInformationOnly = isInformationOnly(item, host);
    state.isCritical = item.isMarkedCritical && (item.criticalBelowVersion.isEmpty() ||
                                                 isBelow(host, item.criticalBelowVersion));
    state.isMajorUpgrade = isBelow(host, item.minimumAutoupdateVersion);
    state.isMinimumSystemVersionOK =
        item.minimumSystemVersion.isEmpty() ||
        compareStandardVersions(item.minimumSystemVersion, context.systemVersion) <= 0;
    state.isMaximumSystemVersionOK =
        item.maximumSystemVersion.isEmpty() ||
        compareStandardVersions(item.maximumSystemVersion, context.systemVersion) >= 0;
    state.isHardwareSupported = !requiresAppleSilicon(item) ||
                                context.architecture == AppcastCheckContext::Architecture::arm64;
    state.isMinimumUpdateVersionOK = !isBelow(host, item.minimumUpdateVersion);
    return state;
}

}  // namespace tarnel
