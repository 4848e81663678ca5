#include "homebrew/cask_catalogue_parser.h"

#include "homebrew/cask_error.h"
#include "homebrew/json_fields.h"

#include <QRandomGenerator>
#include <QUuid>

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace tarnel {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

using namespace std::string_view_literals;

QStringList stringList(std::optional<element> value) {
    return optionalStringList(value).value_or(QStringList());
}

bool isTrue(std::optional<element> value) {
    bool flag = false;
    return value && value->get(flag) == simdjson::SUCCESS && flag;
}

bool hasKey(const object& source, std::string_view key) {
    return field(source, key).has_value();
}

// What the artifacts say about installers, alternate app names, manual
// installation and the paths that uninstalling removes.
struct ArtifactReading {
    QList<Cask::Installer> installers;
    QStringList bundleIdentifiers;
    bool manualInstaller = false;
    QStringList uninstallPaths;
};

void readInstallerStanza(const array& entries, ArtifactReading& reading) {
    for (const element entry : entries) {
        const object stanza = entry.get_object().value_unsafe();
        if (const auto manual = qStringIn(field(stanza, "manual"sv))) {
            reading.installers.append({InstallerType::manual, *manual});
        } else if (const auto pkg = qStringIn(field(stanza, "pkg"sv))) {
            reading.installers.append({InstallerType::pkg, *pkg});
        }
        if (hasKey(stanza, "manual"sv) || hasKey(stanza, "pkg"sv)) {
            reading.manualInstaller = true;
        }
    }
}

void readAppStanza(const element& value, const QString& applicationsFolder,
                   ArtifactReading& reading) {
    if (const auto names = arrayOfStrings(value)) {
        for (const element name : *names) {
            reading.installers.append(
                {InstallerType::app,
                 applicationsFolder + u'/' + toQString(name.get_string().value_unsafe())});
        }
    }
    array entries;
    if (value.get(entries) != simdjson::SUCCESS) {
        return;
    }
    for (const element entry : entries) {
        object target;
        if (entry.get(target) != simdjson::SUCCESS) {
            continue;
        }
        const auto name = stringIn(field(target, "target"sv));
        if (name && name->find('.') != std::string_view::npos &&
            name->find('/') == std::string_view::npos) {
            reading.bundleIdentifiers.append(toQString(*name));
        }
    }
}

void readUninstallStanza(const array& directives, ArtifactReading& reading) {
    for (const element entry : directives) {
        const auto deleted = field(entry.get_object().value_unsafe(), "delete"sv);
        if (const auto paths = arrayOfStrings(deleted)) {
            for (const element path : *paths) {
                const std::string_view text = path.get_string().value_unsafe();
                reading.uninstallPaths.append(toQString(text));
                if (text.ends_with(".app"sv)) {
                    reading.installers.append({InstallerType::app, reading.uninstallPaths.last()});
                }
            }
        } else if (const auto path = qStringIn(deleted)) {
            reading.uninstallPaths.append(*path);
        }
    }
}

ArtifactReading readArtifacts(const array& artifacts, const QString& applicationsFolder) {
    ArtifactReading reading;
    for (const element entry : artifacts) {
        const object artifact = entry.get_object().value_unsafe();
        // Inside one artifact the stanzas count in this order, whatever the
        // order of its keys.
        if (const auto installer = arrayOfObjects(field(artifact, "installer"sv))) {
            readInstallerStanza(*installer, reading);
        }
        if (const auto app = field(artifact, "app"sv)) {
            readAppStanza(*app, applicationsFolder, reading);
        }
        if (const auto uninstall = arrayOfObjects(field(artifact, "uninstall"sv))) {
            readUninstallStanza(*uninstall, reading);
        }
        if (hasKey(artifact, "pkg"sv)) {
            reading.manualInstaller = true;
        }
    }
    return reading;
}

// The catalogue's own default, before matching replaces it with a score.
double parseTimeConfidence(bool hasArtifacts, bool hasDescription, bool manualInstaller) {
    double confidence = hasArtifacts ? 0.8 : 0.5;
    if (hasDescription) {
        confidence += 0.1;
    }
    if (manualInstaller) {
        confidence -= 0.2;
    }
    return std::clamp(confidence, 0.0, 1.0);
}

// Fresh random ids for the casks of one parse. They only have to differ
// between casks and between parses, so one generator seeded from the system
// per parse will do: asking the system for every id would cost more than
// mapping the cask.
class CaskIdSource {
public:
    QString next() {
        std::array<quint32, 4> words{};
        generator.fillRange(words.data(), words.size());
        std::array<char, 16> bytes{};
        std::memcpy(bytes.data(), words.data(), bytes.size());
        // Version 4 (random), variant 1, as any random UUID.
        bytes[6] = static_cast<char>((bytes[6] & 0x0F) | 0x40);
        bytes[8] = static_cast<char>((bytes[8] & 0x3F) | 0x80);
        return QUuid::fromRfc4122(QByteArrayView(bytes.data(), bytes.size()))
            .toString(QUuid::WithoutBraces);
    }

private:
    static QRandomGenerator seededFromSystem() {
        std::array<quint32, 4> seed{};
        QRandomGenerator::system()->fillRange(seed.data(), seed.size());
        return QRandomGenerator(seed.data(), seed.size());
    }

    QRandomGenerator generator = seededFromSystem();
};

// The top-level fields a cask is made of, found in one pass over the object.
struct CaskFields {
    std::optional<element> token;
    std::optional<element> version;
    std::optional<element> homepage;
    std::optional<element> description;
    std::optional<element> names;
    std::optional<element> artifacts;
    std::optional<element> caveats;
    std::optional<element> deprecated;
    std::optional<element> disabled;
};

// Cask objects carry dozens of members, so the key's length picks the few
// names worth comparing.
CaskFields collectFields(const object& source) {
    CaskFields fields;
    for (const auto [key, value] : source) {
        switch (key.size()) {
            case 4:
                if (key == "desc"sv) {
                    fields.description = value;
                } else if (key == "name"sv) {
                    fields.names = value;
                }
                break;
            case 5:
                if (key == "token"sv) {
                    fields.token = value;
                }
                break;
            case 7:
                if (key == "version"sv) {
                    fields.version = value;
                } else if (key == "caveats"sv) {
                    fields.caveats = value;
                }
                break;
            case 8:
                if (key == "homepage"sv) {
                    fields.homepage = value;
                } else if (key == "disabled"sv) {
                    fields.disabled = value;
                }
                break;
            case 9:
                if (key == "artifacts"sv) {
                    fields.artifacts = value;
                }
                break;
            case 10:
                if (key == "deprecated"sv) {
                    fields.deprecated = value;
                }
                break;
            default:
                break;
        }
    }
    return fields;
}

// What every cask of one parse shares.
struct ParseContext {
    bool includeDeprecated = false;
    QString applicationsFolder;
    CaskIdSource ids;
};

std::optional<Cask> mapCask(const object& source, ParseContext& context) {
    const CaskFields fields = collectFields(source);
    const auto token = stringIn(fields.token);
    const auto version = stringIn(fields.version);
    if (!token || !version) {
        return std::nullopt;
    }
    if (!context.includeDeprecated && (isTrue(fields.deprecated) || isTrue(fields.disabled))) {
        return std::nullopt;
    }

    const auto artifacts = arrayOfObjects(fields.artifacts);
    ArtifactReading reading =
        artifacts ? readArtifacts(*artifacts, context.applicationsFolder) : ArtifactReading{};

    Cask cask;
    cask.id = context.ids.next();
    cask.name = toQString(*token);
    cask.homepage = qStringIn(fields.homepage);
    cask.description = qStringIn(fields.description);
    cask.version = toQString(*version);
    cask.rawVersion = cask.version;
    cask.bundleIdentifiers = std::move(reading.bundleIdentifiers);
    cask.installers = std::move(reading.installers);
    cask.caveats = stringList(fields.caveats);
    cask.manualInstaller = reading.manualInstaller;
    cask.officialNames = stringList(fields.names);
    cask.uninstallPaths = std::move(reading.uninstallPaths);
    cask.confidence = parseTimeConfidence(artifacts && artifacts->size() > 0,
                                          cask.description.has_value(), cask.manualInstaller);
    return cask;
}

}  // namespace

std::optional<Cask> parseCask(const object& source, bool includeDeprecated,
                              const QString& applicationsDirectory) {
    ParseContext context{includeDeprecated, applicationsDirectory, {}};
    return mapCask(source, context);
}

QList<Cask> parseCaskCatalogue(const QByteArray& bytes, bool includeDeprecated,
                               const QString& applicationsDirectory) {
    simdjson::dom::parser parser;
    const element root = parseJsonRoot(bytes, parser);
    array entries;
    if (root.get(entries) != simdjson::SUCCESS) {
        throw CaskError::invalidAPIResponse();
    }
    ParseContext context{includeDeprecated, applicationsDirectory, {}};
    QList<Cask> casks;
    casks.reserve(static_cast<qsizetype>(entries.size()));
    for (const element entry : entries) {
        object source;
        if (entry.get(source) != simdjson::SUCCESS) {
            throw CaskError::invalidAPIResponse();
        }
        if (auto cask = mapCask(source, context)) {
            casks.append(std::move(*cask));
        }
    }
    return casks;
}

}  // namespace tarnel
