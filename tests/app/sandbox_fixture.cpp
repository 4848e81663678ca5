#include "sandbox_fixture.h"

#include "core/logger.h"
#include "core/settings_store.h"
#include "support/test_paths.h"
#include "updates/skip_update_service.h"

#include <QFile>
#include <QJsonArray>

namespace {

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QJsonDocument& document) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    const QByteArray bytes = document.toJson();
    ASSERT_EQ(file.write(bytes), bytes.size()) << path.toStdString();
}

// Changes the cask `token` in the array of casks at `path`, or adds it.
void changeCask(const QString& path, const QString& token,
                const std::function<void(QJsonObject&)>& change) {
    QJsonArray casks = QJsonDocument::fromJson(contentsOf(path)).array();
    for (qsizetype index = 0; index < casks.size(); ++index) {
        QJsonObject cask = casks.at(index).toObject();
        if (cask.value(QStringLiteral("token")).toString() == token) {
            change(cask);
            casks[index] = cask;
            write(path, QJsonDocument(casks));
            return;
        }
    }
    QJsonObject cask{{QStringLiteral("token"), token}};
    change(cask);
    casks.append(cask);
    write(path, QJsonDocument(casks));
}

QJsonObject recordOf(const QJsonArray& records, const QString& displayName) {
    for (const QJsonValue& record : records) {
        if (record[QStringLiteral("displayName")].toString() == displayName) {
            return record.toObject();
        }
    }
    ADD_FAILURE() << "no record for " << displayName.toStdString();
    return {};
}

}  // namespace

void SandboxFixture::SetUp() {
    root = folder.filePath(QStringLiteral("mac"));
    const CliResult created = runCli(toolPath(QStringLiteral("tarnel-sandbox")),
                                     {QStringLiteral("create"), root}, folder.path());
    ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();
    served = std::make_unique<ServedSandbox>(root);
    ASSERT_TRUE(served->isServing());
}

CliResult SandboxFixture::cli(const QStringList& arguments) const {
    return runCli(toolPath(QStringLiteral("tarnel-cli")),
                  QStringList{QStringLiteral("--sandbox"), root} + arguments, folder.path());
}

CliResult SandboxFixture::cliOnTerminal(const QStringList& arguments) const {
    return runCliOnTerminal(toolPath(QStringLiteral("tarnel-cli")),
                            QStringList{QStringLiteral("--sandbox"), root} + arguments,
                            folder.path());
}

QJsonDocument SandboxFixture::jsonOf(const QStringList& arguments) const {
    const CliResult result = cli(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(result.output, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    return document;
}

QJsonObject SandboxFixture::bundleRecord(const QString& displayName) const {
    return recordOf(jsonOf({QStringLiteral("scan-bundles"), QStringLiteral("--json")}).array(),
                    displayName);
}

QJsonObject SandboxFixture::scanRecord(const QString& displayName) const {
    return recordOf(jsonOf({QStringLiteral("scan"), QStringLiteral("--json")}).array(),
                    displayName);
}

QStringList SandboxFixture::pendingUpdates(const QString& list, const QString& key) const {
    QStringList values;
    const QJsonObject lists =
        jsonOf({QStringLiteral("updates"), QStringLiteral("--json")}).object();
    for (const QJsonValue& update : lists[list].toArray()) {
        values.append(update[key].toString());
    }
    return values;
}

QString SandboxFixture::bundle(const QString& name) const {
    return inSandbox(QStringLiteral("Applications/") + name + QStringLiteral(".app"));
}

void SandboxFixture::setSetting(const QString& key, bool value) const {
    tarnel::SettingsStore(inSandbox(QStringLiteral("settings.json"))).setBool(key, value);
}

void SandboxFixture::clearSkippedVersions() const {
    tarnel::SettingsStore settings(inSandbox(QStringLiteral("settings.json")));
    tarnel::Logger quiet([](tarnel::LogLevel, const QString&) {}, settings, folder.path());
    tarnel::SkipUpdateService(quiet, settings).clearAllSkippedVersions();
}

void SandboxFixture::changeBrewCask(const QString& token,
                                    const std::function<void(QJsonObject&)>& change) const {
    changeCask(inSandbox(QStringLiteral("state/brew/casks.json")), token, change);
}

void SandboxFixture::changeCatalogueCask(const QString& token,
                                         const std::function<void(QJsonObject&)>& change) const {
    changeCask(inSandbox(QStringLiteral("www/api/cask.json")), token, change);
}

void SandboxFixture::setBrewInstalled(const QString& token, const QString& version) const {
    const QString path = inSandbox(QStringLiteral("state/brew/installed.json"));
    QJsonObject installed = QJsonDocument::fromJson(contentsOf(path)).object();
    installed.insert(token, version);
    write(path, QJsonDocument(installed));
}

void SandboxFixture::setBrewBehaviour(const QString& command, const QJsonObject& behaviour) const {
    const QString path = inSandbox(QStringLiteral("state/brew/state.json"));
    QJsonObject state = QJsonDocument::fromJson(contentsOf(path)).object();
    QJsonObject commands = state.value(QStringLiteral("commands")).toObject();
    commands.insert(command, behaviour);
    state.insert(QStringLiteral("commands"), commands);
    write(path, QJsonDocument(state));
}

QList<SandboxFixture::BrewRun> SandboxFixture::brewRuns(const QString& command) const {
    QList<BrewRun> runs;
    const QByteArray log = contentsOf(inSandbox(QStringLiteral("state/brew/invocations.jsonl")));
    for (const QByteArray& line : log.split('\n')) {
        const QJsonObject invocation = QJsonDocument::fromJson(line).object();
        const QJsonArray arguments = invocation.value(QStringLiteral("arguments")).toArray();
        if (arguments.isEmpty() || arguments.first().toString() != command) {
            continue;
        }
        BrewRun run;
        for (const QJsonValue& argument : arguments) {
            run.arguments.append(argument.toString());
        }
        run.hadAskpass = invocation.value(QStringLiteral("environment"))
                             .toObject()
                             .value(QStringLiteral("SUDO_ASKPASS"))
                             .isString();
        runs.append(run);
    }
    return runs;
}
