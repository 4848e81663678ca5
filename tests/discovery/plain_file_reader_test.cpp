#include "platform/plain_file_reader.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class PlainFileReader : public ::testing::Test {
protected:
    QString fileOf(qint64 size) {
        const QString path = folder.filePath(QStringLiteral("file"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size));
        return path;
    }

    QTemporaryDir folder;
};

}  // namespace

TEST_F(PlainFileReader, ReadsAFileAsLongAsTheLimit) {
    const auto contents = readPlainFile(fileOf(1000), 1000);

    ASSERT_TRUE(std::holds_alternative<QByteArray>(contents));
    EXPECT_EQ(std::get<QByteArray>(contents), QByteArray(1000, '\0'));
}

TEST_F(PlainFileReader, RefusesAFileOneByteLongerThanTheLimit) {
    EXPECT_EQ(readPlainFile(fileOf(1001), 1000),
              (std::variant<QByteArray, FileReadFailure>(FileReadFailure::tooLarge)));
}

// Two gibibytes of hole cost no disk, and would cost as much memory if read.
TEST_F(PlainFileReader, RefusesASparseFileOfTwoGibibytesWithoutReadingIt) {
    EXPECT_EQ(readPlainFile(fileOf(qint64(2) << 30), 4096),
              (std::variant<QByteArray, FileReadFailure>(FileReadFailure::tooLarge)));
}
