#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace tarnel {

// Why a check or an update of an application's own feed could not run.
class SparkleError : public std::exception {
public:
    enum class Case {
        noSparkleConfiguration,
        invalidFeedURL,
        feedNotAccessible,
        feedParsingFailed,
        unsupportedFeedFormat,
        failedToLoadBundle,
        insecureFeedURL,
        hostNotFound,
        updateAlreadyInProgress,
        networkError,
    };

    static SparkleError noSparkleConfiguration() {
        return SparkleError(Case::noSparkleConfiguration);
    }
    static SparkleError invalidFeedURL() { return SparkleError(Case::invalidFeedURL); }
    static SparkleError feedNotAccessible() { return SparkleError(Case::feedNotAccessible); }
    static SparkleError feedParsingFailed() { return SparkleError(Case::feedParsingFailed); }
    static SparkleError unsupportedFeedFormat() {
        return SparkleError(Case::unsupportedFeedFormat);
    }
    static SparkleError failedToLoadBundle() { return SparkleError(Case::failedToLoadBundle); }
    static SparkleError insecureFeedURL() { return SparkleError(Case::insecureFeedURL); }
    static SparkleError hostNotFound() { return SparkleError(Case::hostNotFound); }
    static SparkleError updateAlreadyInProgress() {
        return SparkleError(Case::updateAlreadyInProgress);
    }
    static SparkleError networkError(const QString& text) {
        return SparkleError(Case::networkError, text);
    }

    Case errorCase() const { return kind; }
    QString description() const;
    const char* what() const noexcept override { return utf8Description.constData(); }

private:
    explicit SparkleError(Case kind, QString networkText = {});

    Case kind;
    QString networkText;
    QByteArray utf8Description;
};

}  // namespace tarnel
