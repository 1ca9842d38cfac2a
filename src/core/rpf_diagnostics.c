#include <rkcore/rpf_diagnostics.h>

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

#include "rpf_diagnostics_p.h"

enum sink_kind { SINK_STDOUT, SINK_STREAM, SINK_CALLBACK, SINK_NONE };

static struct {
    enum sink_kind kind;
    FILE *stream;
    rpf_diagnostic_callback callback;
    void *context;
} sink = {SINK_STDOUT, NULL, NULL, NULL};

void rpf_diagnostics_set_stream(FILE *stream)
{
    sink.kind = stream == NULL ? SINK_NONE : SINK_STREAM;
    sink.stream = stream;
    sink.callback = NULL;
    sink.context = NULL;
}

void rpf_diagnostics_set_callback(rpf_diagnostic_callback callback, void *context)
{
    sink.kind = callback == NULL ? SINK_NONE : SINK_CALLBACK;
    sink.stream = NULL;
    sink.callback = callback;
    sink.context = context;
}

void rpf_diagnostics_reset(void)
{
    sink.kind = SINK_STDOUT;
    sink.stream = NULL;
    sink.callback = NULL;
    sink.context = NULL;
}

int rpf_diag_enabled(void)
{
    return sink.kind != SINK_NONE;
}

static void write_text(const char *text)
{
    switch (sink.kind) {
    case SINK_STDOUT: (void)fputs(text, stdout); break;
    case SINK_STREAM: (void)fputs(text, sink.stream); break;
    case SINK_CALLBACK: sink.callback(text, sink.context); break;
    case SINK_NONE: break;
    }
}

void rpf_diag_line(const char *line)
{
    if (sink.kind == SINK_NONE) return;
    if (sink.kind != SINK_CALLBACK) {
        write_text(line);
        write_text("\n");
        return;
    }
    size_t length = strlen(line);
    char *text = malloc(length + 2);
    if (text == NULL) return;
    memcpy(text, line, length);
    memcpy(text + length, "\n", 2);
    write_text(text);
    free(text);
}

void rpf_diag_printf(const char *format, ...)
{
    if (sink.kind == SINK_NONE) return;
    va_list args;
    va_start(args, format);
    if (sink.kind == SINK_STDOUT || sink.kind == SINK_STREAM) {
        (void)vfprintf(sink.kind == SINK_STDOUT ? stdout : sink.stream, format, args);
        va_end(args);
        return;
    }
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(NULL, 0, format, args);
    char *text = length < 0 ? NULL : malloc((size_t)length + 1);
    if (text != NULL) {
        (void)vsnprintf(text, (size_t)length + 1, format, again);
        write_text(text);
        free(text);
    }
    va_end(again);
    va_end(args);
}

void rpf_diagnostics_write_line(const char *line)
{
    if (line != NULL) rpf_diag_line(line);
}
