#include "app/cli/adopt_command.h"

#include "app/cli/application_command.h"
#include "app/cli/command_line.h"
#include "app/cli/permission_required.h"
#include "homebrew/cask_adoption_error.h"

#include <exception>

namespace tarnel {

namespace {

using Validation = CustomCaskValidationResult::Kind;

// The versions as the "Version Mismatch" alert shows them, what adopting
// would do, and how to go ahead all the same.
QString versionMismatchText(const CaskAdoptionError& error) {
    return QStringLiteral(
               "%1\nYour Version: %2\nBrew Version: %3\n\n%4\nRun again with --force "
               "to replace the application with the cask's version.")
        .arg(error.description(), error.installedVersion(), error.caskVersion(),
             error.recoverySuggestion());
}

// The cask that TOKEN names, once the validation has found it free; when it
// is not, says why in the words of the custom cask field.
QCoro::Task<std::optional<Cask>> validatedCask(CommandSession& session, QString token,
                                               QList<Application> applications) {
    CustomCaskValidationResult result;
    std::exception_ptr failure;
    try {
        result = co_await session.services().caskService.validateCustomCask(token, applications);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        session.fail(QStringLiteral("Error looking up cask: ") + failureDescription(failure));
        co_return std::nullopt;
    }
    switch (result.kind) {
        case Validation::valid:
            co_return result.cask;
        case Validation::alreadyInUse:
            session.fail(QStringLiteral("This cask is already available as an option above"));
            break;
        case Validation::notFound:
            session.fail(QStringLiteral("Cask '%1' not found in Homebrew").arg(token));
            break;
        case Validation::alreadyInstalled:
            session.fail(
                QStringLiteral("This cask is already installed and managing another application"));
            break;
    }
    co_return std::nullopt;
}

// What the adoption came to: done, refused for one of the two reasons that
// have a dialog of their own, or failed otherwise.
struct AdoptionResult {
    std::optional<CaskAdoptionError> refusal;
    std::exception_ptr failure;
};

QCoro::Task<AdoptionResult> outcomeOf(QCoro::Task<> adoption) {
    AdoptionResult result;
    try {
        co_await std::move(adoption);
    } catch (const CaskAdoptionError& error) {
        result.refusal = error;
    } catch (...) {
        result.failure = std::current_exception();
    }
    co_return result;
}

// Reports a failed adoption: a refusal for want of the permission in the
// words of its alert, anything else by its description.
int reportFailure(CommandSession& session, const AdoptionResult& result, const Cask& cask) {
    if (result.refusal &&
        result.refusal->kind() == CaskAdoptionError::Kind::adminPermissionRequired) {
        return session.fail(permissionRequiredText(cask), LineBreaks::kept);
    }
    if (result.refusal) {
        return session.fail(result.refusal->description());
    }
    return session.fail(result.failure);
}

}  // namespace

QCoro::Task<int> runAdoptCommand(QStringList arguments, SystemLayout layout) {
    const QCommandLineOption caskOption(
        QStringLiteral("cask"), QStringLiteral("Adopt with this cask instead of the best option."),
        QStringLiteral("TOKEN"));
    const QCommandLineOption forceOption(
        QStringLiteral("force"),
        QStringLiteral("On a version mismatch, replace the application with the cask's version."));
    ApplicationCommand command(QStringLiteral("adopt"), QStringLiteral(" [--cask TOKEN] [--force]"),
                               QStringLiteral("Brings APP under Homebrew without reinstalling it."),
                               {caskOption, forceOption});
    if (const auto status = command.parse(arguments)) {
        co_return *status;
    }
    const CommandParser& parser = command.parser();
    const QString token = parser.value(caskOption).trimmed();
    if (parser.isSet(caskOption) && token.isEmpty()) {
        co_return parser.fail(QStringLiteral("--cask needs a cask token."));
    }
    if (!co_await command.find(layout, ApplicationSource::discovery)) {
        co_return 1;
    }
    CommandSession& session = command.session();
    const Application& application = command.application();
    if (application.alreadyAdopted) {
        co_return session.fail(
            QStringLiteral("%1 is already managed by Homebrew through the cask %2")
                .arg(application.displayName, application.adoptedCask->name));
    }
    if (application.excluded) {
        co_return session.fail(
            QStringLiteral("%1 is excluded; include it first").arg(application.displayName));
    }

    std::optional<Cask> cask;
    if (parser.isSet(caskOption)) {
        cask = co_await validatedCask(session, token, command.found().applications);
    } else if (!application.caskOptions.isEmpty()) {
        cask = application.caskOptions.constFirst();
    } else {
        session.fail(QStringLiteral("no cask is offered for %1; name one with --cask TOKEN")
                         .arg(application.displayName));
    }
    if (!cask) {
        co_return 1;
    }

    // A package installer runs with the askpass helper from the start, which
    // only the permission allows; without it nothing is launched.
    const bool hasAdminPermission = session.services().appState.hasAdminPasswordPermission();
    if (cask->manualInstaller && !hasAdminPermission) {
        co_return session.fail(permissionRequiredText(*cask), LineBreaks::kept);
    }

    CaskService& caskService = session.services().caskService;
    const AdoptionResult adoption = co_await outcomeOf(
        caskService.adoptCask(*cask, true, hasAdminPermission, session.progressHandler()));
    if (!adoption.refusal && !adoption.failure) {
        co_return session.succeed(
            (parser.isSet(caskOption) ? QStringLiteral("Successfully adopted %1 with custom cask\n")
                                      : QStringLiteral("Successfully adopted %1\n"))
                .arg(application.displayName));
    }
    const bool isMismatch =
        adoption.refusal && adoption.refusal->kind() == CaskAdoptionError::Kind::versionMismatch;
    if (!isMismatch) {
        co_return reportFailure(session, adoption, *cask);
    }
    if (!parser.isSet(forceOption)) {
        co_return session.fail(versionMismatchText(*adoption.refusal), LineBreaks::kept);
    }

    const AdoptionResult forced = co_await outcomeOf(
        caskService.forceInstallCask(*cask, true, hasAdminPermission, session.progressHandler()));
    if (forced.refusal || forced.failure) {
        co_return reportFailure(session, forced, *cask);
    }
    co_return session.succeed(QStringLiteral("Successfully force-adopted %1\n").arg(cask->name));
}

}  // namespace tarnel
