#include <rkcore/rpf_diagnostics.h>

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "rpf_diagnostics_p.h"

enum sink_kind { SINK_STDOUT, SINK_STREAM, SINK_CALLBACK, SINK_NONE };

typedef struct sink {
    enum sink_kind kind;
    FILE *stream;
    rpf_diagnostic_callback callback;
    void *context;
} sink;

/* The process-wide setting. */
static sink process_sink = {SINK_STDOUT, NULL, NULL, NULL};

/* The calling thread's override, when `active`: a callback or nothing. */
static _Thread_local struct {
    int active;
    rpf_diagnostic_callback callback;
    void *context;
} thread_sink = {0, NULL, NULL};

void rpf_diagnostics_set_stream(FILE *stream)
{
    process_sink = (sink){stream == NULL ? SINK_NONE : SINK_STREAM, stream, NULL, NULL};
}

void rpf_diagnostics_set_callback(rpf_diagnostic_callback callback, void *context)
{
    process_sink = (sink){callback == NULL ? SINK_NONE : SINK_CALLBACK, NULL, callback, context};
}

void rpf_diagnostics_reset(void)
{
    process_sink = (sink){SINK_STDOUT, NULL, NULL, NULL};
}

void rpf_diagnostics_set_thread_callback(rpf_diagnostic_callback callback, void *context)
{
    thread_sink.active = 1;
    thread_sink.callback = callback;
    thread_sink.context = context;
}

void rpf_diagnostics_clear_thread_callback(void)
{
    thread_sink.active = 0;
    thread_sink.callback = NULL;
    thread_sink.context = NULL;
}

int rpf_diagnostics_get_thread_callback(rpf_diagnostic_callback *callback, void **context)
{
    if (!thread_sink.active) return 0;
    if (callback != NULL) *callback = thread_sink.callback;
    if (context != NULL) *context = thread_sink.context;
    return 1;
}

/* Where a diagnostic written now, on this thread, goes. Taken once per write:
 * the thread's override wins, and the process-wide setting is not read at all
 * while one is set. */
static sink current_sink(void)
{
    if (thread_sink.active) {
        return (sink){thread_sink.callback == NULL ? SINK_NONE : SINK_CALLBACK, NULL, thread_sink.callback,
                      thread_sink.context};
    }
    return process_sink;
}

int rpf_diag_enabled(void)
{
    return current_sink().kind != SINK_NONE;
}

static void write_text(const sink *to, const char *text)
{
    switch (to->kind) {
    case SINK_STDOUT: (void)fputs(text, stdout); break;
    case SINK_STREAM: (void)fputs(text, to->stream); break;
    case SINK_CALLBACK: to->callback(text, to->context); break;
    case SINK_NONE: break;
    }
}

void rpf_diag_line(const char *line)
{
    const sink to = current_sink();
    if (to.kind == SINK_NONE) return;
    if (to.kind != SINK_CALLBACK) {
        write_text(&to, line);
        write_text(&to, "\n");
        return;
    }
    /* A callback receives the whole line in one call. */
    size_t length = strlen(line);
    char *text = malloc(length + 2);
    if (text == NULL) return;
    memcpy(text, line, length);
    memcpy(text + length, "\n", 2);
    write_text(&to, text);
    free(text);
}

void rpf_diag_printf(const char *format, ...)
{
    const sink to = current_sink();
    if (to.kind == SINK_NONE) return;
    va_list args;
    va_start(args, format);
    if (to.kind == SINK_STDOUT || to.kind == SINK_STREAM) {
        (void)vfprintf(to.kind == SINK_STDOUT ? stdout : to.stream, format, args);
        va_end(args);
        return;
    }
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(NULL, 0, format, args);
    char *text = length < 0 ? NULL : malloc((size_t)length + 1);
    if (text != NULL) {
        (void)vsnprintf(text, (size_t)length + 1, format, again);
        write_text(&to, text);
        free(text);
    }
    va_end(again);
    va_end(args);
}

void rpf_diagnostics_write_line(const char *line)
{
    if (line != NULL) rpf_diag_line(line);
}
