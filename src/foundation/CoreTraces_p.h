// Private: the object layer's calls into the C core's tracing functions (the
// URL parsers above all) keep those traces off standard output.
//
// A CoreTraceScope lives for one such call on one thread. While it lives, what
// the core writes to its diagnostic stream on that thread is collected (the
// process-wide setting and other threads are untouched); when it goes, each
// collected line is written to the "rkcore" category at debug level with every
// secret handed to maskSecret replaced by kSecretMask, and with what the URL
// parsers show about a password besides its text (its length, its last
// character, the counts it can be worked out from) masked as well. With the
// category's debug level off (the default), nothing is collected or formatted
// at all. Scopes nest: each restores the override it found.
#pragma once

#include <QByteArray>
#include <QList>

#include <rkcore/rpf_diagnostics.h>

namespace rk {

// What stands in for a secret (and for what would tell its length) in a logged line.
inline constexpr const char *kSecretMask = "********";

class CoreTraceScope final {
public:
    CoreTraceScope();
    ~CoreTraceScope();
    CoreTraceScope(const CoreTraceScope &) = delete;
    CoreTraceScope &operator=(const CoreTraceScope &) = delete;

    // Masks every occurrence of `secret` in the lines this scope logs. Null and
    // empty secrets are ignored. Call it once the secret is known (after the
    // parse); lines already collected are masked too.
    void maskSecret(const QByteArray &secret);

    // The masked form of collected diagnostic text: the lines as they would be
    // logged. Exposed for the callers that print traces themselves.
    static QList<QByteArray> maskedLines(const QByteArray &text, QList<QByteArray> secrets);

private:
    static void collect(const char *text, void *context);

    QByteArray m_text;
    QList<QByteArray> m_secrets;
    bool m_hadOverride = false;
    rpf_diagnostic_callback m_previousCallback = nullptr;
    void *m_previousContext = nullptr;
};

} // namespace rk
