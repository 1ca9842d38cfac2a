/* Path and string utilities on NUL-terminated byte strings (UTF-8 paths and
 * names). "/" is the only separator; nothing normalises "." or "..", collapses
 * repeated separators or looks at the file system.
 *
 * Every returned text is a fresh malloc buffer owned by the caller, except the
 * constant "/" that rpf_parent_of_path and rpf_path_without_last_component
 * return for the root: that one must not be freed (rpf_path_free knows it).
 * A null argument gives a null (or 0) result. All functions are reentrant.
 *
 * Blanks: leading blanks are spaces only; trailing blanks are space, carriage
 * return and line feed. Tabs are never trimmed.
 */
#ifndef RKCORE_RPF_PATH_H
#define RKCORE_RPF_PATH_H

#include <stddef.h>
#include <stdint.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Number of leading spaces. */
RPF_EXPORT unsigned int rpf_utility_front_spaces(const char *text);

/* Number of trailing space, CR and LF characters; 0 for null. An empty text
 * gives 0 and an all-blank text its length. */
RPF_EXPORT unsigned int rpf_string_back_spaces(const char *text);

/* New text without the leading spaces and the trailing space/CR/LF run. An
 * empty or all-blank text gives a new empty text. */
RPF_EXPORT char *rpf_utility_despace_string(const char *text);

/* malloc(size): no zeroing, no checking. */
RPF_EXPORT void *Malloc(size_t size);

/* 1 when the first byte is "/", else 0 (0 for null). */
RPF_EXPORT int rpf_path_is_absolute(const char *path);

/* `dir` joined to `item` with one "/" unless `dir` is "/" or already ends in
 * "/". `item` is not examined: a leading "/" in it doubles the separator. */
RPF_EXPORT char *rpf_path_by_appending_item(const char *dir, const char *item);

/* The parent directory; a trailing separator is tolerated. "/" gives the
 * constant "/"; /a gives an allocated "/"; /a/b and /a/b/ give /a; a/b gives a.
 * A path without any separator before its last component ("a", "a/") has no
 * parent part and gives a new empty text. */
RPF_EXPORT char *rpf_parent_of_path(const char *path);

/* Everything before the last "/": /a/b gives /a, /a/b/ gives /a/b, /a gives
 * the empty text, "/" the constant "/". A path without "/" gives a new empty
 * text. */
RPF_EXPORT char *rpf_path_without_last_component(const char *path);

/* As rpf_path_without_last_component, except that /a and "/" give "/", always
 * allocated. A path without "/" gives a new empty text. */
RPF_EXPORT char *experimental_rpf_path_without_last_component(const char *path);

/* What follows the last "/": /a/b gives b, /a/b/ the empty text. A path
 * without "/" is all last component and gives a copy of itself. */
RPF_EXPORT char *rpf_path_last_component(const char *path);

/* Extension of a name (trailing blanks ignored): the text after its last "."
 * where that dot is not the first character. a.txt gives txt, a. an empty
 * text; abc, .profile and an empty or all-blank text give null. The whole
 * text is searched, not only its last component. */
RPF_EXPORT char *rpf_string_get_extension(const char *name);

/* With trailing blanks ignored: when the character just before the last
 * size-1 characters of `name` is ".", copies those characters and a
 * terminator into *destination (which must hold `size` bytes) and returns 1;
 * otherwise (or when that character would lie before the text, size is 0, or
 * destination or *destination is null) returns 0 and writes nothing. */
RPF_EXPORT int rpf_string_get_extension_with_known_length(const char *name, char **destination, size_t size);

/* Frees a path returned by the functions above, unless it is the constant
 * root "/" (or null). */
RPF_EXPORT void rpf_path_free(char *path);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_PATH_H */
