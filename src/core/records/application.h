#pragma once

#include "core/records/application_row_status.h"
#include "core/records/cask.h"
#include "core/records/mas_app.h"
#include "core/records/sparkle_info.h"

#include <QList>
#include <QString>

#include <optional>

namespace tarnel {

// One application bundle found on disk. `id` lasts for one run and is carried
// over a refresh by `bundlePath`.
struct Application {
    QString id;
    QString name;
    QString displayName;
    QString bundlePath;
    QString bundleIdentifier;
    QString bundleVersion;
    QString shortVersion;
    std::optional<SparkleInfo> sparkleInfo;
    bool excluded = false;
    std::optional<Cask> adoptedCask;
    bool alreadyAdopted = false;
    QList<Cask> caskOptions;
    std::optional<MASApp> masApp;

    ApplicationRowStatus listStatus() const;
    QList<Cask> otherCaskOptions() const;

    bool operator==(const Application&) const = default;
};

size_t qHash(const Application& application, size_t seed = 0);

}  // namespace tarnel
