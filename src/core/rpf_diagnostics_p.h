/* Private: how core code writes to the diagnostic stream. Not installed. */
#ifndef RKCORE_RPF_DIAGNOSTICS_P_H
#define RKCORE_RPF_DIAGNOSTICS_P_H

/* 0 when diagnostics are discarded: callers skip building their texts. */
int rpf_diag_enabled(void);

/* Writes `line` and a line end (as puts does). */
void rpf_diag_line(const char *line);

/* Writes formatted text as it stands (as printf does). */
void rpf_diag_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
