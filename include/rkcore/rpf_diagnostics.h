/* The core's diagnostic stream.
 *
 * Core functions that trace their work (the URL parsers, the item record's
 * walk and dump, a few error lines) write to standard output by default, as
 * the listing code always has. An application or tool can send those lines to
 * another stream or to a callback instead.
 *
 * Thread: the setting is process-wide; change it before core functions run on
 * other threads (it is read without a lock).
 */
#ifndef RKCORE_RPF_DIAGNOSTICS_H
#define RKCORE_RPF_DIAGNOSTICS_H

#include <stdio.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Receives each diagnostic exactly as it would have been written: whole lines
 * end in "\n"; a few traces are partial lines. `text` is valid only during the
 * call. */
typedef void (*rpf_diagnostic_callback)(const char *text, void *context);

/* Diagnostics go to `stream` (not closed by the core); null discards them. */
RPF_EXPORT void rpf_diagnostics_set_stream(FILE *stream);

/* Diagnostics go to `callback` with `context`; a null callback discards them. */
RPF_EXPORT void rpf_diagnostics_set_callback(rpf_diagnostic_callback callback, void *context);

/* Back to the default: standard output. */
RPF_EXPORT void rpf_diagnostics_reset(void);

/* Writes `line` and a newline as a diagnostic, as puts() would: the object
 * layer's standard-output lines go the same way as the core's. Null is
 * ignored. */
RPF_EXPORT void rpf_diagnostics_write_line(const char *line);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_DIAGNOSTICS_H */
