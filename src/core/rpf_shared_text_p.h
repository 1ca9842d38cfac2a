/* Private: texts shared by many records (owner, group and date texts of a
 * local folder), counted so that each record can give its use back.
 *
 * A shared text is an ordinary NUL-terminated text whose address is recorded
 * in a process-wide table with a use count. rpf_fso_free_text looks a pointer
 * up there: a shared text loses one use (and is freed with its last), any
 * other pointer is passed to free(). Not installed.
 *
 * Thread: any thread; the table has its own lock and the counts are atomic.
 */
#ifndef RKCORE_RPF_SHARED_TEXT_P_H
#define RKCORE_RPF_SHARED_TEXT_P_H

/* A new shared copy of `text` with one use, or null when memory is
 * exhausted. */
char *rpf_shared_text_new(const char *text);

/* Adds one use to a text that rpf_shared_text_new returned and that still has
 * a use the caller holds; returns it. */
char *rpf_shared_text_retain(char *text);

/* Gives back one use of `text` when it is shared and returns 1; returns 0 (and
 * does nothing) for a text that is not shared. */
int rpf_shared_text_release(char *text);

#endif
