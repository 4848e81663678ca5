// A stand-in for the store's command-line tool: answers `list`, `outdated` and
// `upgrade [ID...]` from a state folder, and logs every invocation there. See
// README.md for the folder's contents.

#include "store_commands.h"
#include "store_state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QStringList>

#include <chrono>
#include <cstdio>
#include <exception>

using namespace tarnel::fakemas;

namespace {

qint64 nowMicroseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The environment wins; otherwise "<name>.state" beside the tool as invoked
// (links are not followed) holds the folder's path, relative to itself if it
// is not absolute.
QString locateStateFolder(const char* invokedAs) {
    const QString fromEnvironment = qEnvironmentVariable("TARNEL_FAKE_MAS_STATE");
    if (!fromEnvironment.isEmpty()) {
        return fromEnvironment;
    }
    QString tool = QFile::decodeName(invokedAs);
    if (!tool.contains(u'/')) {
        tool = QStandardPaths::findExecutable(tool);
    }
    const QFileInfo toolInfo(tool);
    QFile sidecar(toolInfo.absolutePath() + u'/' + toolInfo.fileName() + QStringLiteral(".state"));
    if (!sidecar.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QString folder = QString::fromUtf8(sidecar.readAll()).trimmed();
    return folder.isEmpty() ? QString() : QFileInfo(toolInfo.absoluteDir(), folder).filePath();
}

// One JSON line per invocation, appended in a single write.
void logInvocation(const QString& folder, const QStringList& arguments, qint64 start, int status) {
    const QJsonObject entry{{QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)},
                            {QStringLiteral("start"), start},
                            {QStringLiteral("end"), nowMicroseconds()},
                            {QStringLiteral("status"), status}};
    QFile log(folder + QStringLiteral("/invocations.jsonl"));
    if (log.open(QIODevice::WriteOnly | QIODevice::Append)) {
        log.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n');
    }
}

void print(FILE* stream, const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

Answer answerFromFolder(const QString& folder, const QStringList& arguments) {
    try {
        StoreState state = StoreState::load(folder);
        Answer answer = answerCommand(state, arguments);
        if (answer.changesState) {
            state.save(folder);
        }
        return answer;
    } catch (const std::exception& error) {
        return {{}, QByteArray("Error: ") + error.what() + '\n', 1};
    }
}

}  // namespace

int main(int argc, char** argv) {
    const qint64 start = nowMicroseconds();
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.append(QString::fromLocal8Bit(argv[index]));
    }
    const QString folder = locateStateFolder(argv[0]);
    if (folder.isEmpty()) {
        print(stderr,
              "Error: no state folder; set TARNEL_FAKE_MAS_STATE or place "
              "<tool name>.state beside the tool\n");
        return 2;
    }
    const Answer answer = answerFromFolder(folder, arguments);
    // Standard output first, so that a merged channel reads in a known order.
    print(stdout, answer.standardOutput);
    print(stderr, answer.standardError);
    logInvocation(folder, arguments, start, answer.status);
    return answer.status;
}
