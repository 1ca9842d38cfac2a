/* The core's diagnostic stream.
 *
 * Core functions that trace their work (the URL parsers, the item record's
 * walk and dump, a few error lines) write to standard output by default, as
 * the listing code always has. An application or tool can send those lines to
 * another stream or to a callback instead.
 *
 * Thread: the process-wide setting (the first three functions below) is read
 * without a lock: change it before core functions run on other threads. A
 * thread may override it for itself alone (rpf_diagnostics_set_thread_callback):
 * while its override is set, everything the core writes on that thread goes
 * there, and other threads are not affected. The object layer uses this to keep
 * the URL parsers' traces of its own calls off standard output.
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

/* Diagnostics written on the calling thread go to `callback` with `context`,
 * whatever the process-wide setting says; a null callback discards them. The
 * override lasts until rpf_diagnostics_clear_thread_callback on the same
 * thread (a thread that ends with it set leaves nothing behind). */
RPF_EXPORT void rpf_diagnostics_set_thread_callback(rpf_diagnostic_callback callback, void *context);

/* Removes the calling thread's override: it follows the process-wide setting again. */
RPF_EXPORT void rpf_diagnostics_clear_thread_callback(void);

/* 1 when the calling thread has an override, with its callback and context
 * stored through the non-null pointers; 0 (nothing stored) when it has none.
 * Lets a caller that sets an override restore the one it found. */
RPF_EXPORT int rpf_diagnostics_get_thread_callback(rpf_diagnostic_callback *callback, void **context);

/* Writes `line` and a newline as a diagnostic, as puts() would: the object
 * layer's standard-output lines go the same way as the core's. Null is
 * ignored. */
RPF_EXPORT void rpf_diagnostics_write_line(const char *line);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_DIAGNOSTICS_H */
