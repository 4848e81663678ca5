#include "sandbox_builder.h"

#include "bundle_version.h"
#include "core/logger.h"
#include "core/settings_store.h"
#include "core/system_layout_file.h"
#include "loopback_certificates.h"
#include "sandbox_feeds.h"
#include "updates/skip_update_service.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <optional>

namespace tarnel {

namespace {

// Where each real bundle of the fixtures goes, and whether its Info.plist is
// turned into the binary form, as many shipped applications have it.
struct Placement {
    const char* fixture;
    const char* destination;
    bool isBinary;
};

constexpr std::array placements{
    Placement{"Amethyst.app", "Applications/Amethyst.app", false},
    Placement{"CodeEdit.app", "Applications/CodeEdit.app", true},
    Placement{"Hammerspoon.app", "Applications/Hammerspoon.app", false},
    Placement{"Hidden Bar.app", "Applications/Hidden Bar.app", true},
    Placement{"IINA.app", "Applications/IINA.app", false},
    Placement{"Ice.app", "Applications/Ice.app", true},
    Placement{"Itsycal.app", "Applications/Itsycal.app", false},
    Placement{"KeepingYouAwake.app", "Applications/KeepingYouAwake.app", true},
    Placement{"Loop.app", "Applications/Loop.app", false},
    Placement{"MacDown.app", "Applications/MacDown.app", true},
    Placement{"Maccy.app", "Applications/Maccy.app", false},
    Placement{"MonitorControl.app", "Applications/MonitorControl.app", true},
    Placement{"OpenEmu.app", "Applications/OpenEmu.app", false},
    Placement{"Rectangle.app", "Applications/Rectangle.app", true},
    Placement{"Sequel Ace.app", "Applications/Sequel Ace.app", false},
    Placement{"SwiftBar.app", "Applications/SwiftBar.app", true},
    Placement{"VirtualBuddy.app", "Applications/VirtualBuddy.app", false},
    Placement{"Whisky.app", "Applications/Whisky.app", true},
    // Found in subfolders, two and three levels down.
    Placement{"Stats.app", "Applications/Utilities/Stats.app", false},
    Placement{"Pika.app", "Applications/Setapp/Tools/Pika.app", true},
    // Outside the applications folder, reached through a link.
    Placement{"Xcodes.app", "Elsewhere/Xcodes.app", false},
    // Skipped by the scan: four levels down, and an uninstaller by its name.
    Placement{"Amethyst.app", "Applications/Archive/Old/Deeper/Amethyst.app", false},
    Placement{"Rectangle.app", "Applications/Rectangle Uninstaller.app", false},
};

// The casks the sandbox's `brew` knows how to adopt, install and upgrade.
const QStringList knownCasks{
    u"amethyst"_qs,       u"hammerspoon"_qs,     u"hiddenbar"_qs, u"iina"_qs,
    u"itsycal"_qs,        u"keepingyouawake"_qs, u"macdown"_qs,   u"maccy"_qs,
    u"monitorcontrol"_qs, u"openemu"_qs,         u"pika"_qs,      u"rectangle"_qs,
    u"sequel-ace"_qs,     u"stats"_qs,           u"swiftbar"_qs,  u"xcodes"_qs,
};

// Adopted already, at the versions of the bundles on disk. Rectangle, Sequel
// Ace and MacDown lag behind their casks, so each has a pending Homebrew
// update; Maccy's cask is older than its bundle. MacDown's cask is deprecated
// in the served catalogue, and the application stays adopted.
const QJsonObject installedCasks{
    {u"rectangle"_qs, u"0.85"_qs},
    {u"maccy"_qs, u"2.0.0"_qs},
    {u"macdown"_qs, u"0.0"_qs},
    {u"sequel-ace"_qs, u"3.4.1,3039"_qs},
};
const QString deprecatedCask = u"macdown"_qs;
// Installs through an installer the user runs by hand, which is what makes
// adopting or upgrading it ask for the administrator permission.
const QString manualInstallerCask = u"sequel-ace"_qs;
const QJsonObject manualInstallerArtifact{
    {u"installer"_qs, QJsonArray{QJsonObject{{u"manual"_qs, u"Sequel Ace Installer.app"_qs}}}}};

// The user once chose not to install the release this bundle's feed offers.
const QString skippedFeedBundle = u"Hammerspoon.app"_qs;

// The shared catalogue as this Mac's Homebrew and the served endpoint know it.
QJsonArray sandboxCatalogue(QJsonArray catalogue) {
    for (qsizetype index = 0; index < catalogue.size(); ++index) {
        QJsonObject cask = catalogue[index].toObject();
        const QString token = cask.value(u"token"_qs).toString();
        if (token == deprecatedCask) {
            cask.insert(u"deprecated"_qs, true);
        } else if (token == manualInstallerCask) {
            QJsonArray artifacts = cask.value(u"artifacts"_qs).toArray();
            artifacts.append(manualInstallerArtifact);
            cask.insert(u"artifacts"_qs, artifacts);
        }
        catalogue[index] = cask;
    }
    return catalogue;
}

void makeFolder(const QString& path) {
    if (!QDir().mkpath(path)) {
        throw SandboxError(QStringLiteral("Cannot make the folder %1").arg(path));
    }
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw SandboxError(QStringLiteral("Cannot read %1: %2").arg(path, file.errorString()));
    }
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    makeFolder(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        throw SandboxError(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    }
}

void writeJson(const QString& path, const QJsonDocument& document) {
    writeFile(path, document.toJson(QJsonDocument::Indented));
}

void copyFolder(const QString& source, const QString& destination) {
    makeFolder(destination);
    QDirIterator entries(source, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString entry = entries.next();
        const QString target = destination + entry.mid(source.size());
        if (entries.fileInfo().isDir()) {
            makeFolder(target);
        } else {
            writeFile(target, readFile(entry));
        }
    }
}

void link(const QString& target, const QString& linkPath) {
    makeFolder(QFileInfo(linkPath).path());
    if (!QFile::link(target, linkPath)) {
        throw SandboxError(QStringLiteral("Cannot link %1 to %2").arg(linkPath, target));
    }
}

// The highest folder on the way to `folder` that is not there yet, which a
// build brings into being; nothing when `folder` itself is there.
std::optional<QString> highestMissingFolder(const QString& folder) {
    std::optional<QString> missing;
    for (QString step = folder; !QFileInfo::exists(step); step = QFileInfo(step).path()) {
        missing = step;
    }
    return missing;
}

void removeEntries(const QString& folder) {
    QDirIterator entries(folder,
                         QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    while (entries.hasNext()) {
        const QString entry = entries.next();
        if (entries.fileInfo().isDir() && !entries.fileInfo().isSymLink()) {
            QDir(entry).removeRecursively();
        } else {
            QFile::remove(entry);
        }
    }
}

}  // namespace

SandboxBuilder::SandboxBuilder(QString root, QString sharedFolder, QString toolsFolder)
    : root(QDir(root).absolutePath()),
      sharedFolder(std::move(sharedFolder)),
      toolsFolder(std::move(toolsFolder)) {}

QString SandboxBuilder::path(const QString& relative) const {
    return root + u'/' + relative;
}

void SandboxBuilder::build() const {
    const QDir folder(root);
    if (folder.exists() &&
        !folder.isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)) {
        throw SandboxError(
            QStringLiteral("%1 already holds files; give an empty or new folder").arg(root));
    }
    if (!QFileInfo(sharedFolder).isDir()) {
        throw SandboxError(
            QStringLiteral("The shared folder %1 does not exist; give it with --shared DIR")
                .arg(sharedFolder));
    }
    checkSharedBundles();
    const QJsonArray catalogue = sandboxCatalogue(readSharedCatalogue());

    const std::optional<QString> created = highestMissingFolder(root);
    try {
        layOut(catalogue);
    } catch (...) {
        if (created) {
            QDir(*created).removeRecursively();
        } else {
            removeEntries(root);
        }
        throw;
    }
}

QJsonArray SandboxBuilder::readSharedCatalogue() const {
    const QJsonArray catalogue =
        QJsonDocument::fromJson(readFile(sharedFolder + QStringLiteral("/data/catalogue.json")))
            .array();
    if (catalogue.isEmpty()) {
        throw SandboxError(QStringLiteral("The shared catalogue in %1/data is missing or empty")
                               .arg(sharedFolder));
    }
    return catalogue;
}

void SandboxBuilder::checkSharedBundles() const {
    for (const Placement& placement : placements) {
        const QString bundle = QStringLiteral("%1/fixtures/bundles/%2")
                                   .arg(sharedFolder, QString::fromUtf8(placement.fixture));
        if (!QFileInfo(bundle + QStringLiteral("/Contents/Info.plist")).isFile()) {
            throw SandboxError(
                QStringLiteral("The shared folder has no fixture bundle %1").arg(bundle));
        }
    }
}

void SandboxBuilder::layOut(const QJsonArray& catalogue) const {
    for (const char* place : {"home/Desktop", "tmp"}) {
        makeFolder(path(QString::fromLatin1(place)));
    }
    placeBundles();
    SandboxFeeds(root).prepare();
    installTool(QStringLiteral("fake-brew"), QStringLiteral("opt/homebrew/bin/brew"),
                QStringLiteral("state/brew"));
    installTool(QStringLiteral("fake-mas"), QStringLiteral("opt/homebrew/bin/mas"),
                QStringLiteral("state/mas"));
    writeBrewState(catalogue);
    writeStoreState();
    writeSettings();
    writeCatalogue(catalogue);
    LoopbackCertificates::create(path(QStringLiteral("ca")));
    writeLayout();
}

void SandboxBuilder::placeBundles() const {
    const QString fixtures = sharedFolder + QStringLiteral("/fixtures/bundles/");
    for (const Placement& placement : placements) {
        const QString destination = path(QString::fromUtf8(placement.destination));
        copyFolder(fixtures + QString::fromUtf8(placement.fixture), destination);
        if (placement.isBinary && !convertInfoPlistToBinary(destination)) {
            throw SandboxError(
                QStringLiteral("Cannot rewrite the Info.plist of %1").arg(destination));
        }
    }
    link(QStringLiteral("../Elsewhere/Xcodes.app"),
         path(QStringLiteral("Applications/Xcodes.app")));
    // Skipped with a warning: a bundle without its Info.plist.
    makeFolder(path(QStringLiteral("Applications/Broken.app/Contents")));
    // Never shown at all: a bundle whose identifier is excluded outright.
    writeFile(path(QStringLiteral("Applications/Safari.app/Contents/Info.plist")),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>CFBundleIdentifier</key>
	<string>com.apple.Safari</string>
	<key>CFBundleName</key>
	<string>Safari</string>
	<key>CFBundleShortVersionString</key>
	<string>18.0</string>
	<key>CFBundleVersion</key>
	<string>20618.1.15</string>
</dict>
</plist>
)");
}

void SandboxBuilder::installTool(const QString& tool, const QString& where,
                                 const QString& stateFolder) const {
    const QString toolPath = path(where);
    link(toolsFolder + u'/' + tool, toolPath);
    const QString relativeState = QFileInfo(toolPath).dir().relativeFilePath(path(stateFolder));
    writeFile(toolPath + QStringLiteral(".state"), relativeState.toUtf8());
}

void SandboxBuilder::writeBrewState(const QJsonArray& catalogue) const {
    writeJson(path(QStringLiteral("state/brew/state.json")),
              QJsonDocument(QJsonObject{
                  {u"versionText"_qs, u"Homebrew 4.5.0"_qs},
                  {u"applicationsDirectory"_qs, path(QStringLiteral("Applications"))},
              }));
    QJsonArray known;
    for (const QJsonValue& cask : catalogue) {
        if (knownCasks.contains(cask.toObject().value(u"token"_qs).toString())) {
            known.append(cask);
        }
    }
    writeJson(path(QStringLiteral("state/brew/casks.json")), QJsonDocument(known));
    writeJson(path(QStringLiteral("state/brew/installed.json")), QJsonDocument(installedCasks));
}

void SandboxBuilder::writeStoreState() const {
    const QString storeBundle = path(QStringLiteral("Applications/Hidden Bar.app"));
    writeJson(path(QStringLiteral("state/mas/state.json")),
              QJsonDocument(QJsonObject{
                  {u"installed"_qs, QJsonArray{QJsonObject{{u"id"_qs, u"1452453066"_qs},
                                                           {u"name"_qs, u"Hidden Bar"_qs},
                                                           {u"version"_qs, u"1.0"_qs},
                                                           {u"bundlePath"_qs, storeBundle}}}},
                  {u"updates"_qs, QJsonArray{QJsonObject{{u"id"_qs, u"1452453066"_qs},
                                                         {u"version"_qs, u"1.9"_qs}}}},
              }));
}

void SandboxBuilder::writeSettings() const {
    SettingsStore settings(path(QStringLiteral("settings.json")));
    settings.setBool(QStringLiteral("enableMASSupport"), true);
    settings.setStringList(QStringLiteral("excludedApplications"),
                           {QStringLiteral("org.openemu.OpenEmu")});
    skipOfferedRelease(settings);
}

void SandboxBuilder::skipOfferedRelease(SettingsStore& settings) const {
    const QString bundle = path(QStringLiteral("Applications/")) + skippedFeedBundle;
    const std::optional<QString> identifier =
        readInfoPlistText(bundle, QStringLiteral("CFBundleIdentifier"));
    if (!identifier) {
        throw SandboxError(QStringLiteral("Cannot read the identifier of %1").arg(bundle));
    }
    // The program's own store writes the skip, so that its key and form are
    // those the program reads; what it logs meanwhile is of no interest here.
    Logger quiet([](LogLevel, const QString&) {}, settings, path(QStringLiteral("home/Desktop")));
    SkipUpdateService(quiet, settings)
        .skipVersion(*identifier, SandboxFeeds(root).offeredVersion(skippedFeedBundle));
}

void SandboxBuilder::writeCatalogue(const QJsonArray& catalogue) const {
    writeFile(path(QStringLiteral("www/api/cask.json")),
              QJsonDocument(catalogue).toJson(QJsonDocument::Compact));
}

void SandboxBuilder::writeLayout() const {
    SystemLayout layout = SystemLayout::production();
    layout.applicationsDirectory = path(QStringLiteral("Applications"));
    layout.brewCandidates = {path(QStringLiteral("opt/homebrew/bin/brew")),
                             path(QStringLiteral("usr/local/bin/brew"))};
    layout.masCandidates = {path(QStringLiteral("opt/homebrew/bin/mas")),
                            path(QStringLiteral("usr/local/bin/mas"))};
    // The address is known once the sandbox is served; until then there is none.
    layout.catalogueUrl = QUrl();
    layout.homeDirectory = path(QStringLiteral("home"));
    layout.temporaryDirectory = path(QStringLiteral("tmp"));
    layout.desktopDirectory = path(QStringLiteral("home/Desktop"));
    layout.extraTrustedCertificates =
        LoopbackCertificates::inFolder(path(QStringLiteral("ca"))).authorityCertificate;
    layout.settingsFile = path(QStringLiteral("settings.json"));
    layout.dataDirectory = path(QStringLiteral("home/Library/Application Support/Tarnel"));
    layout.preferredLanguages = {QStringLiteral("en")};
    layout.askpassDialogProgram = toolsFolder + QStringLiteral("/tarnel-askpass");
    writeSystemLayoutFile(layout, path(QStringLiteral("layout.json")));
}

}  // namespace tarnel
