#include "fuzz_harness.h"

#include <stdexcept>

#define TARNEL_FUZZ_HARNESS(name) extern "C" int fuzz_##name(const uint8_t* data, size_t size);
#include "fuzz_harnesses.inc"
#undef TARNEL_FUZZ_HARNESS

void FuzzHarness::run(const QByteArray& input) const {
    entry(reinterpret_cast<const uint8_t*>(input.constData()), static_cast<size_t>(input.size()));
}

QList<FuzzHarness> fuzzHarnesses() {
    return {
#define TARNEL_FUZZ_HARNESS(name) FuzzHarness{QStringLiteral(#name), &fuzz_##name},
#include "fuzz_harnesses.inc"
#undef TARNEL_FUZZ_HARNESS
    };
}

FuzzHarness fuzzHarness(const QString& name) {
    for (const FuzzHarness& harness : fuzzHarnesses()) {
        if (harness.name == name) {
            return harness;
        }
    }
    throw std::invalid_argument("no fuzz harness " + name.toStdString());
}

QStringList fuzzInputDirs(const QString& name) {
    QStringList folders;
    for (const char* kind : {"seeds", "corpus", "reproducers"}) {
        folders.append(QStringLiteral(TARNEL_FUZZ_DIR "/%1/%2").arg(QLatin1String(kind), name));
    }
    return folders;
}
