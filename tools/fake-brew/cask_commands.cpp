#include "cask_commands.h"

#include "brew_state.h"
#include "bundle_version.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace fakebrew {

using tarnel::BundleVersion;
using tarnel::readBundleVersion;
using tarnel::writeBundleVersion;

namespace {

const QString caskOption = QStringLiteral("--cask");

QByteArray line(const QString& text) {
    return text.toUtf8() + '\n';
}

CommandOutcome unknownCask(const QString& token) {
    return CommandOutcome::failure(
        line(QStringLiteral("Error: Cask '%1' is unavailable: No Cask with this name exists.")
                 .arg(token)));
}

CommandOutcome notInstalled(const QString& token) {
    return CommandOutcome::failure(
        line(QStringLiteral("Error: Cask '%1' is not installed.").arg(token)));
}

QString caskVersion(const QJsonObject& cask) {
    return cask.value(QStringLiteral("version")).toString();
}

// The versions a bundle of this cask carries: the cask's own bundle versions
// when it names them, else its version split at the comma.
BundleVersion expectedBundleVersion(const QJsonObject& cask) {
    const QString version = caskVersion(cask);
    BundleVersion expected{version.section(u',', 0, 0), version.section(u',', 1)};
    const QString shortVersion = cask.value(QStringLiteral("bundle_short_version")).toString();
    const QString buildVersion = cask.value(QStringLiteral("bundle_version")).toString();
    if (!shortVersion.isEmpty()) {
        expected.shortVersion = shortVersion;
    }
    if (!buildVersion.isEmpty()) {
        expected.buildVersion = buildVersion;
    }
    if (expected.buildVersion->isEmpty()) {
        expected.buildVersion = expected.shortVersion;
    }
    return expected;
}

bool versionAgrees(const BundleVersion& found, const QJsonObject& cask) {
    const QString version = caskVersion(cask);
    return found.shortVersion == version ||
           found.shortVersion == expectedBundleVersion(cask).shortVersion;
}

bool isOutdated(const QJsonObject& cask, const QString& installedVersion, bool isGreedy) {
    const QString current = caskVersion(cask);
    if (installedVersion == current) {
        return false;
    }
    // Without --greedy, casks that update themselves are left out.
    const bool updatesItself =
        cask.value(QStringLiteral("auto_updates")).toBool() || current == QStringLiteral("latest");
    return isGreedy || !updatesItself;
}

}  // namespace

CaskCommands::CaskCommands(BrewState& state) : state(state) {}

CommandOutcome CaskCommands::run(const QStringList& arguments) {
    if (arguments.isEmpty()) {
        return CommandOutcome::failure("Example usage:\n  brew install FORMULA|CASK...\n");
    }
    Request request;
    request.command = arguments.first();
    for (const QString& argument : arguments.mid(1)) {
        if (argument.startsWith(QStringLiteral("--"))) {
            request.options.insert(argument);
        } else {
            request.tokens.append(argument);
        }
    }

    static const QMap<QString, QSet<QString>> knownOptions{
        {QStringLiteral("--version"), {}},
        {QStringLiteral("update"), {}},
        {QStringLiteral("list"), {caskOption}},
        {QStringLiteral("install"),
         {caskOption, QStringLiteral("--adopt"), QStringLiteral("--force"),
          QStringLiteral("--no-quarantine")}},
        {QStringLiteral("outdated"),
         {caskOption, QStringLiteral("--greedy"), QStringLiteral("--json")}},
        {QStringLiteral("cleanup"), {}},
        {QStringLiteral("upgrade"),
         {caskOption, QStringLiteral("--force"), QStringLiteral("--no-quarantine")}},
    };
    if (!knownOptions.contains(request.command)) {
        return CommandOutcome::failure(
            line(QStringLiteral("Error: Unknown command: %1").arg(request.command)));
    }
    for (const QString& option : request.options) {
        if (!knownOptions.value(request.command).contains(option)) {
            return CommandOutcome::failure(
                line(QStringLiteral("Error: invalid option: %1").arg(option)));
        }
    }

    if (request.command == QStringLiteral("--version")) {
        return CommandOutcome::success(line(state.versionText()));
    }
    if (request.command == QStringLiteral("update")) {
        return CommandOutcome::success("Already up-to-date.\n");
    }
    if (request.command == QStringLiteral("cleanup")) {
        return CommandOutcome::success();
    }
    if (!request.options.contains(caskOption)) {
        return CommandOutcome::failure("Error: This stand-in only knows casks: pass --cask.\n");
    }
    if (request.command == QStringLiteral("list")) {
        return list(request);
    }
    if (request.command == QStringLiteral("install")) {
        return install(request);
    }
    if (request.command == QStringLiteral("outdated")) {
        return outdated(request);
    }
    return upgrade(request);
}

QString CaskCommands::bundlePath(const QJsonObject& cask) const {
    for (const QJsonValue& artifact : cask.value(QStringLiteral("artifacts")).toArray()) {
        for (const QJsonValue& app : artifact.toObject().value(QStringLiteral("app")).toArray()) {
            const QString name = app.isString()
                                     ? app.toString()
                                     : app.toObject().value(QStringLiteral("target")).toString();
            if (!name.isEmpty()) {
                return QDir(state.applicationsDirectory()).filePath(QFileInfo(name).fileName());
            }
        }
    }
    return {};
}

CommandOutcome CaskCommands::list(const Request&) {
    QByteArray output;
    for (const QString& token : state.installedCasks().keys()) {
        output += line(token);
    }
    return CommandOutcome::success(output);
}

CommandOutcome CaskCommands::install(const Request& request) {
    const bool isAdoption = request.options.contains(QStringLiteral("--adopt"));
    if (request.tokens.size() != 1 ||
        isAdoption == request.options.contains(QStringLiteral("--force"))) {
        return CommandOutcome::failure(
            "Error: This stand-in installs one cask with --adopt or --force.\n");
    }
    const QString token = request.tokens.first();
    const std::optional<QJsonObject> cask = state.cask(token);
    if (!cask) {
        return unknownCask(token);
    }
    return isAdoption ? adopt(token, *cask) : forceInstall(token, *cask);
}

CommandOutcome CaskCommands::adopt(const QString& token, const QJsonObject& cask) {
    if (state.installedCasks().contains(token)) {
        return CommandOutcome::success(
            line(QStringLiteral("Warning: Cask '%1' is already installed.").arg(token)));
    }
    const QString bundle = bundlePath(cask);
    if (bundle.isEmpty()) {
        return CommandOutcome::failure(
            line(QStringLiteral("Error: Cask '%1' has no App to adopt.").arg(token)));
    }
    const QByteArray progress =
        line(QStringLiteral("==> Adopting existing App at '%1'").arg(bundle));
    if (!QFileInfo(bundle).isDir()) {
        return CommandOutcome::failure(
            line(QStringLiteral("Error: It seems there is no App at '%1'.").arg(bundle)), progress);
    }
    const std::optional<BundleVersion> found = readBundleVersion(bundle);
    if (!found || !versionAgrees(*found, cask)) {
        const QString foundVersion = found ? found->shortVersion : QStringLiteral("unreadable");
        return CommandOutcome::failure(
            line(QStringLiteral("Error: It seems the existing App is different from the one "
                                "being installed.")) +
                line(QStringLiteral("The cask's bundle short version is %1 but is %2 for the "
                                    "existing App at '%3'.")
                         .arg(caskVersion(cask), foundVersion, bundle)),
            progress);
    }
    state.setInstalledVersion(token, caskVersion(cask));
    return CommandOutcome::success(
        progress +
        line(QStringLiteral("==> %1 %2 was successfully adopted!").arg(token, caskVersion(cask))));
}

CommandOutcome CaskCommands::forceInstall(const QString& token, const QJsonObject& cask) {
    const QString bundle = bundlePath(cask);
    if (bundle.isEmpty() || !writeBundleVersion(bundle, expectedBundleVersion(cask))) {
        return CommandOutcome::failure(
            line(QStringLiteral("Error: Could not install the App of cask '%1'.").arg(token)));
    }
    state.setInstalledVersion(token, caskVersion(cask));
    return CommandOutcome::success(
        line(QStringLiteral("==> Installing Cask %1").arg(token)) +
        line(QStringLiteral("==> Moving App to '%1'").arg(bundle)) +
        line(QStringLiteral("==> %1 was successfully installed!").arg(token)));
}

CommandOutcome CaskCommands::outdated(const Request& request) {
    const QMap<QString, QString> installed = state.installedCasks();
    for (const QString& token : request.tokens) {
        if (!state.cask(token)) {
            return unknownCask(token);
        }
        if (!installed.contains(token)) {
            return notInstalled(token);
        }
    }
    const bool isNamed = !request.tokens.isEmpty();
    const QStringList tokens = isNamed ? request.tokens : installed.keys();
    // A cask asked for by name counts even when it updates itself.
    const bool isGreedy = isNamed || request.options.contains(QStringLiteral("--greedy"));
    QJsonArray entries;
    QByteArray names;
    for (const QString& token : tokens) {
        const std::optional<QJsonObject> cask = state.cask(token);
        if (!cask || !isOutdated(*cask, installed.value(token), isGreedy)) {
            continue;
        }
        entries.append(QJsonObject{
            {QStringLiteral("name"), token},
            {QStringLiteral("installed_versions"), QJsonArray{installed.value(token)}},
            {QStringLiteral("current_version"), caskVersion(*cask)},
            {QStringLiteral("pinned"), false},
            {QStringLiteral("pinned_version"), QJsonValue::Null},
        });
        // Printed into a pipe, the real tool leaves out the versions.
        names += line(token);
    }
    // Like the real tool, only casks asked for by name and found outdated
    // end with status 1; a whole listing ends with 0 whatever it finds.
    const int status = isNamed && !entries.isEmpty() ? 1 : 0;
    if (request.options.contains(QStringLiteral("--json"))) {
        const QJsonObject report{{QStringLiteral("formulae"), QJsonArray()},
                                 {QStringLiteral("casks"), entries}};
        return {status, QJsonDocument(report).toJson(), {}};
    }
    return {status, names, {}};
}

CommandOutcome CaskCommands::upgrade(const Request& request) {
    if (request.tokens.size() != 1) {
        return CommandOutcome::failure("Error: This stand-in upgrades one cask at a time.\n");
    }
    const QString token = request.tokens.first();
    const std::optional<QJsonObject> cask = state.cask(token);
    if (!cask) {
        return unknownCask(token);
    }
    const QMap<QString, QString> installed = state.installedCasks();
    if (!installed.contains(token)) {
        return notInstalled(token);
    }
    const QString bundle = bundlePath(*cask);
    if (bundle.isEmpty() || !QFileInfo(bundle).isDir() ||
        !writeBundleVersion(bundle, expectedBundleVersion(*cask))) {
        return CommandOutcome::failure(
            line(QStringLiteral("Error: It seems the App source '%1' is not there.").arg(bundle)));
    }
    state.setInstalledVersion(token, caskVersion(*cask));
    return CommandOutcome::success(
        line(QStringLiteral("==> Upgrading %1").arg(token)) +
        line(QStringLiteral("%1 -> %2").arg(installed.value(token), caskVersion(*cask))) +
        line(QStringLiteral("==> %1 was successfully upgraded!").arg(token)));
}

}  // namespace fakebrew
