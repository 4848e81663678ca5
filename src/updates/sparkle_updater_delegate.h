#pragma once

#include <QString>

namespace tarnel {

// The one question of the framework's delegate that the update logic answers:
// which feed to read, in place of the one the bundle declares.
class SparkleUpdaterDelegate {
public:
    virtual ~SparkleUpdaterDelegate() = default;
    virtual QString feedURLStringForUpdater() = 0;
};

}  // namespace tarnel
