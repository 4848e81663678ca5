#include "core/logger.h"
#include "core/settings_store.h"
#include "platform/qt_log_sink.h"
#include "support/log_capture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace tarnel;

namespace {

class LoggerTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QString desktop = folder.filePath(QStringLiteral("Desktop"));
    SettingsStore settings{folder.filePath(QStringLiteral("settings.json"))};
    LogCapture capture;
    Logger logger{capture.sink(), settings, desktop};

    void SetUp() override { ASSERT_TRUE(QDir().mkpath(desktop)); }

    QStringList desktopFiles() const {
        return QDir(desktop).entryList(QDir::Files | QDir::NoDotAndDotDot);
    }

    static QStringList fileLines(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
};

const QRegularExpression linePattern(
    QStringLiteral(R"(^\[\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\] \[(INFO|WARNING|ERROR)\] )"));

}  // namespace

TEST_F(LoggerTest, SendsEachLevelToTheSinkWithItsFormat) {
    logger.info(QStringLiteral("one"));
    logger.warning(QStringLiteral("two"));
    logger.error(QStringLiteral("three"));
    EXPECT_EQ(capture.lines(),
              (QStringList{u"[INFO] one"_qs, u"[WARNING] two"_qs, u"[ERROR] three"_qs}));
}

TEST_F(LoggerTest, WarnsOnceOfAnUnparsableSettingsFileWithItsPath) {
    const QString path = folder.filePath(QStringLiteral("broken.json"));
    QFile broken(path);
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write("{ not json");
    broken.close();
    SettingsStore store(path);
    LogCapture brokenCapture;
    const Logger brokenLogger(brokenCapture.sink(), store, desktop);
    EXPECT_EQ(brokenCapture.lines(),
              QStringList{QStringLiteral("[WARNING] The settings file %1 cannot be parsed; it is "
                                         "treated as empty and left as it is unless a setting "
                                         "changes")
                              .arg(path)});
}

TEST_F(LoggerTest, WithTheSettingOffNothingIsCreatedOnTheDesktop) {
    logger.info(QStringLiteral("hello"));
    EXPECT_TRUE(desktopFiles().isEmpty());
    EXPECT_FALSE(logger.currentLogFile().has_value());
}

TEST_F(LoggerTest, TheFirstMessageAfterSwitchingOnCreatesTheFileWithTheStartLineFirst) {
    logger.info(QStringLiteral("before"));
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.warning(QStringLiteral("first message"));
    ASSERT_EQ(desktopFiles().size(), 1);
    const QStringList lines = fileLines(*logger.currentLogFile());
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(linePattern.match(lines[0]).hasMatch());
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("[INFO] File logging started")));
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral("[WARNING] first message")));
}

TEST_F(LoggerTest, OneRunKeepsAppendingToOneFile) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("a"));
    logger.error(QStringLiteral("b"));
    EXPECT_EQ(desktopFiles().size(), 1);
    EXPECT_EQ(fileLines(*logger.currentLogFile()).size(), 3);
}

TEST_F(LoggerTest, ADeletedFileIsRecreatedWithoutAStartLine) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("a"));
    const QString path = *logger.currentLogFile();
    ASSERT_TRUE(QFile::remove(path));
    logger.info(QStringLiteral("after deletion"));
    const QStringList lines = fileLines(path);
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("[INFO] after deletion")));
}

TEST_F(LoggerTest, StopFileLoggingRemovesTheFileAndTheNextMessageStartsANewOne) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("a"));
    const QString first = *logger.currentLogFile();
    logger.info(QStringLiteral("File logging disabled by user"));
    logger.stopFileLogging();
    EXPECT_FALSE(QFile::exists(first));
    EXPECT_FALSE(logger.currentLogFile().has_value());
    logger.info(QStringLiteral("again"));
    ASSERT_TRUE(logger.currentLogFile().has_value());
    const QStringList lines = fileLines(*logger.currentLogFile());
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].endsWith(QStringLiteral("[INFO] File logging started")));
}

TEST_F(LoggerTest, TurningTheSettingOffOnlySilencesTheWrites) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("a"));
    settings.setBool(QStringLiteral("enableFileLogging"), false);
    logger.info(QStringLiteral("b"));
    EXPECT_EQ(fileLines(*logger.currentLogFile()).size(), 2);
}

TEST_F(LoggerTest, TheNameStampHasHyphensInTheTimeAndTheLineStampColons) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("a"));
    const QString name = QFileInfo(*logger.currentLogFile()).fileName();
    EXPECT_TRUE(QRegularExpression(
                    QStringLiteral(R"(^TarnelLog-\d{4}-\d{2}-\d{2}_\d{2}-\d{2}-\d{2}\.log$)"))
                    .match(name)
                    .hasMatch())
        << name.toStdString();
    EXPECT_TRUE(linePattern.match(fileLines(*logger.currentLogFile())[1]).hasMatch());
}

TEST_F(LoggerTest, AMessageWithANewlineTakesMoreThanOneLine) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.info(QStringLiteral("first half\nsecond half"));
    const QStringList lines = fileLines(*logger.currentLogFile());
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral("[INFO] first half")));
    EXPECT_EQ(lines[2], QStringLiteral("second half"));
}

// A bundle's name or a tool's output may hold anything; a line that reaches
// a terminal or a support log must not move the cursor or recolour the screen.
TEST_F(LoggerTest, AMessageWithControlCharactersIsEscapedInTheFileAndTheSink) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    const QString message = QStringLiteral(
        "No Info.plist found at /A/\x1b[2JCaf\u00e9\r"
        "[ERROR] forged\t\u0085\u202e\x7f\\x.app");
    // Ordinary text, the backslash included, stays as it is.
    const QString shown = QStringLiteral(
        "No Info.plist found at /A/\\x1B[2JCaf\u00e9\\r[ERROR] forged\\t\\u{0085}"
        "\\u{202E}\\x7F\\x.app");

    logger.warning(message);

    const QStringList lines = fileLines(*logger.currentLogFile());
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral("[WARNING] ") + shown)) << lines[1].toStdString();
    EXPECT_EQ(capture.lines(), QStringList{QStringLiteral("[WARNING] ") + shown});
}

TEST_F(LoggerTest, AMissingDesktopLosesTheLineFromTheFileOnly) {
    QDir(desktop).removeRecursively();
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    logger.error(QStringLiteral("still logged"));
    EXPECT_TRUE(capture.contains(LogLevel::error, QStringLiteral("still logged")));
    EXPECT_FALSE(QDir(desktop).exists());
}

TEST_F(LoggerTest, LinesFromManyThreadsStayWhole) {
    settings.setBool(QStringLiteral("enableFileLogging"), true);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, thread] {
            for (int index = 0; index < 50; ++index) {
                logger.info(QStringLiteral("thread %1 line %2").arg(thread).arg(index));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const QStringList lines = fileLines(*logger.currentLogFile());
    EXPECT_EQ(lines.size(), 201);
    for (const QString& line : lines) {
        EXPECT_TRUE(linePattern.match(line).hasMatch()) << line.toStdString();
    }
    EXPECT_EQ(capture.lines().size(), 200);
}

namespace {
QStringList platformMessages;
QList<QtMsgType> platformTypes;
QString platformCategory;

void recordMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    platformTypes.append(type);
    platformMessages.append(message);
    platformCategory = QString::fromUtf8(context.category);
}
}  // namespace

TEST(QtLogSink, WritesInfoAsInfoAndWarningsAndErrorsAsCritical) {
    const auto previous = qInstallMessageHandler(recordMessage);
    const LogSink sink = qtLogSink();
    sink(LogLevel::info, QStringLiteral("[INFO] a"));
    sink(LogLevel::warning, QStringLiteral("[WARNING] b"));
    sink(LogLevel::error, QStringLiteral("[ERROR] c"));
    qInstallMessageHandler(previous);
    EXPECT_EQ(platformMessages, (QStringList{u"[INFO] a"_qs, u"[WARNING] b"_qs, u"[ERROR] c"_qs}));
    EXPECT_EQ(platformTypes, (QList<QtMsgType>{QtInfoMsg, QtCriticalMsg, QtCriticalMsg}));
    EXPECT_EQ(platformCategory, QStringLiteral("app.tarnel.Tarnel.general"));
}
