#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

// One parser's fuzz entry point, linked into the ordinary suite under the
// harness's name.
struct FuzzHarness {
    QString name;
    int (*entry)(const uint8_t* data, size_t size) = nullptr;

    void run(const QByteArray& input) const;
};

// Every harness in tests/fuzz, in the order of their names.
QList<FuzzHarness> fuzzHarnesses();
FuzzHarness fuzzHarness(const QString& name);

// The folders of inputs the suite replays through a harness: its hand-made
// seeds, its minimized corpus and its reproducers.
QStringList fuzzInputDirs(const QString& name);
