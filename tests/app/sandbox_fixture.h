#pragma once

#include "cli_fixture.h"
#include "served_sandbox.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

// A sandbox made and served by the real tarnel-sandbox for each test, the
// real tarnel-cli run on it, and the means to change what its `brew`, its
// catalogue and its settings hold.
class SandboxFixture : public ::testing::Test {
protected:
    void SetUp() override;

    // tarnel-cli --sandbox ROOT, with standard error a pipe.
    CliResult cli(const QStringList& arguments) const;
    // The same with standard error a terminal.
    CliResult cliOnTerminal(const QStringList& arguments) const;
    // The standard output of a run that must succeed, read as JSON.
    QJsonDocument jsonOf(const QStringList& arguments) const;
    // The record of `displayName` among the bundles that `scan-bundles` or
    // `scan` lists.
    QJsonObject bundleRecord(const QString& displayName) const;
    QJsonObject scanRecord(const QString& displayName) const;

    // The values of `key` over one list (such as "brewUpdates") of a fresh
    // `updates --json`.
    QStringList pendingUpdates(const QString& list, const QString& key) const;

    QString inSandbox(const QString& relative) const { return root + u'/' + relative; }
    QString bundle(const QString& name) const;

    void setSetting(const QString& key, bool value) const;
    // Forgets every skipped version, as the settings' button does.
    void clearSkippedVersions() const;
    // Changes the cask `token` as `brew` knows it, adding it when it knows none.
    void changeBrewCask(const QString& token,
                        const std::function<void(QJsonObject&)>& change) const;
    // Changes the cask `token` as the served catalogue lists it.
    void changeCatalogueCask(const QString& token,
                             const std::function<void(QJsonObject&)>& change) const;
    void setBrewInstalled(const QString& token, const QString& version) const;
    // How every run of `command` (such as "upgrade") answers, in fake-brew's terms.
    void setBrewBehaviour(const QString& command, const QJsonObject& behaviour) const;
    // One finished run of the sandbox's `brew`.
    struct BrewRun {
        QStringList arguments;
        // Run with the askpass helper, as after a retry with the permission.
        bool hadAskpass = false;
    };
    // The runs so far whose first argument is `command`, in order.
    QList<BrewRun> brewRuns(const QString& command) const;

    QTemporaryDir folder;
    QString root;
    std::unique_ptr<ServedSandbox> served;
};
