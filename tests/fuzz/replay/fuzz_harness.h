#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

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

// The folders of inputs the suite replays through each harness.
QString fuzzReproducersDir(const QString& name);
QString fuzzCorpusDir(const QString& name);
