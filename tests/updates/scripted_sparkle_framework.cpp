#include "scripted_sparkle_framework.h"

#include <QObject>
#include <QTimer>

#include <algorithm>

using namespace tarnel;

namespace {

class ScriptedUpdater final : public SparkleUpdater {
public:
    ScriptedUpdater(ScriptedSparkleFramework& framework, SparkleUserDriver& driver,
                    SparkleUpdaterDelegate& delegate)
        : framework(framework), driver(driver), delegate(delegate) {
        ++framework.liveCount;
        framework.mostLiveAtOnce = std::max(framework.mostLiveAtOnce, framework.liveCount);
    }
    ~ScriptedUpdater() override { --framework.liveCount; }

    std::optional<SparkleFrameworkError> startUpdater() override { return framework.startFailure; }

    void checkForUpdates() override {
        framework.lastFeedURL = delegate.feedURLStringForUpdater();
        // The context ends the call when the updater is gone first, as the
        // framework stops calling a driver whose updater was released.
        QTimer::singleShot(0, &context, [this] {
            if (framework.script) {
                framework.script(driver, delegate);
            }
        });
    }

private:
    ScriptedSparkleFramework& framework;
    SparkleUserDriver& driver;
    SparkleUpdaterDelegate& delegate;
    QObject context;
};

}  // namespace

std::unique_ptr<SparkleUpdater> ScriptedSparkleFramework::createUpdater(
    const QString& hostBundlePath, const QString& applicationBundlePath,
    SparkleUserDriver& userDriver, SparkleUpdaterDelegate& delegate) {
    ++createdCount;
    lastHostBundlePath = hostBundlePath;
    lastApplicationBundlePath = applicationBundlePath;
    return std::make_unique<ScriptedUpdater>(*this, userDriver, delegate);
}
