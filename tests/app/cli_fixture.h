#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// What one run of a program left behind.
struct CliResult {
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

// Runs `program` to its end with HOME and the settings inside `home`.
CliResult runCli(const QString& program, const QStringList& arguments, const QString& home);
// The same with standard output written to the file at `outputPath`.
CliResult runCliWritingTo(const QString& program, const QStringList& arguments, const QString& home,
                          const QString& outputPath);
// The same with standard output a pipe whose reading end is already closed.
CliResult runCliIntoClosedPipe(const QString& program, const QStringList& arguments,
                               const QString& home);

// The same with standard error a terminal, whose output takes the place of
// `errors`, as the terminal shows it (line ends as "\r\n").
CliResult runCliOnTerminal(const QString& program, const QStringList& arguments,
                           const QString& home);

// A temporary folder holding a copy of the shared fixture bundles as its
// "Applications", and tarnel-cli run with that folder as its home.
class CliFixture : public ::testing::Test {
protected:
    void SetUp() override;

    QString applications() const { return folder.filePath(QStringLiteral("Applications")); }
    CliResult run(const QStringList& arguments) const;
    // The standard output of a successful run, read as a JSON array.
    QJsonArray jsonOf(const CliResult& result) const;
    // The record named `name`; a failure when there is none.
    QJsonObject record(const QJsonArray& records, const QString& name) const;

    QTemporaryDir folder;
};
