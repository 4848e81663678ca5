#include "homebrew/brew_error.h"

namespace tarnel {

BrewError::BrewError(Kind kind, QString output, std::optional<QString> standardError)
    : errorKind(kind),
      commandOutput(std::move(output)),
      commandError(std::move(standardError)),
      utf8Description(description().toUtf8()) {}

BrewError BrewError::commandFailed(const QString& output, std::optional<QString> standardError) {
    return BrewError(Kind::commandFailed, output, std::move(standardError));
}

QString BrewError::description() const {
    switch (errorKind) {
        case Kind::commandFailed:
            if (commandError && !commandError->isEmpty()) {
                return QStringLiteral("Homebrew command failed:\n\n") + *commandError;
            }
            return QStringLiteral("Homebrew command failed: ") + commandOutput;
        case Kind::homebrewNotFound:
            return QStringLiteral("Homebrew is not installed or not found in standard locations");
        case Kind::invalidAPIURL:
            return QStringLiteral("Invalid Homebrew API URL");
        case Kind::apiRequestFailed:
            return QStringLiteral("Failed to fetch data from Homebrew API");
        case Kind::adminPermissionRequired:
            return QStringLiteral("Administrator privileges required but permission not granted");
    }
    Q_UNREACHABLE();
}

}  // namespace tarnel
