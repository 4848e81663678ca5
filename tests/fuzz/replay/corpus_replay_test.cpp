#include "fuzz_harness.h"
#include "memory_ceiling.h"

#include <QDirIterator>
#include <QFile>

#include <gtest/gtest.h>

#include <iostream>

// Named in the test's listing by the harness alone.
void PrintTo(const FuzzHarness& harness, std::ostream* stream) {
    *stream << harness.name.toStdString();
}

namespace {

class FuzzCorpusReplay : public testing::TestWithParam<FuzzHarness> {
protected:
    void SetUp() override { applyMemoryCeiling(); }
};

// Every file under the folder, nested folders included.
QStringList inputFiles(const QString& folder) {
    QStringList files;
    QDirIterator iterator(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        files.append(iterator.next());
    }
    return files;
}

QByteArray contents(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
    }
    return file.readAll();
}

}  // namespace

TEST_P(FuzzCorpusReplay, RunsEverySeedCorpusInputAndReproducerToTheEnd) {
    const FuzzHarness harness = GetParam();
    QStringList files;
    for (const QString& folder : fuzzInputDirs(harness.name)) {
        files.append(inputFiles(folder));
    }
    // A harness without inputs would pass without running anything.
    ASSERT_FALSE(files.isEmpty()) << "no inputs for " << harness.name.toStdString();
    for (const QString& path : files) {
        // Named before it runs, so that a crash shows which input it was.
        std::cerr << "replaying " << path.toStdString() << std::endl;
        harness.run(contents(path));
    }
}

INSTANTIATE_TEST_SUITE_P(Harnesses, FuzzCorpusReplay, testing::ValuesIn(fuzzHarnesses()),
                         [](const testing::TestParamInfo<FuzzHarness>& info) {
                             return info.param.name.toStdString();
                         });
