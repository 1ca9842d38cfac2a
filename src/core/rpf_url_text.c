/* The URL record's text forms and the encapsulated "ravix://" form. */
#include <rkcore/rpf_url.h>

#include <stdlib.h>
#include <string.h>

#include "rpf_diagnostics_p.h"
#include "rpf_strings_p.h"
#include "rpf_url_p.h"

const char anonymousUrlFormatWithoutPort_woPath[] = "%s%s/";
const char anonymousUrlFormatWithPort_woPath[] = "%s%s:%d/";
const char registeredURLFormatWithoutPort_woPath[] = "%s%s:%s@%s/";
const char registeredURLFormatWithPort_woPath[] = "%s%s:%s@%s:%d/";
const char anonymousUrlFormatWithoutPort[] = "%s%s/%s";
const char anonymousUrlFormatWithPort[] = "%s%s:%d/%s";
const char registeredURLFormatWithoutPort[] = "%s%s:%s@%s/%s";
const char registeredURLFormatWithPort[] = "%s%s:%s@%s:%d/%s";
const char fileUrlFormat[] = "%s%s";
const char ravixUrlFormat[] = "%s<%s><%d><%d>";
const char urlFormat[] = "%s%s:%s@%s:%d/%s";

static const char ravix_prefix[] = "ravix://";

/* The scheme prefix of a type, or null for a type without one. */
static const char *scheme_prefix(int32_t type)
{
    switch (type) {
    case RPF_URL_TYPE_FTP: return "ftp://";
    case RPF_URL_TYPE_SFTP: return "sftp://";
    case RPF_URL_TYPE_FILE: return "file://";
    case RPF_URL_TYPE_AFP: return "afp://";
    case RPF_URL_TYPE_SMB: return "smb://";
    default: return NULL;
    }
}

static const char *or_empty(const char *text)
{
    return text == NULL ? "" : text;
}

int32_t rpf_url_default_port(int32_t type)
{
    switch (type) {
    case RPF_URL_TYPE_FTP: return RPF_URL_PORT_FTP;
    case RPF_URL_TYPE_SFTP: return RPF_URL_PORT_SFTP;
    case RPF_URL_TYPE_AFP: return RPF_URL_PORT_AFP;
    case RPF_URL_TYPE_SMB: return RPF_URL_PORT_SMB;
    default: return 0;
    }
}

int rpf_url_hasUniquePort(const rpf_url *url)
{
    if (url == NULL) return 0;
    const int32_t standard = rpf_url_default_port(url->type);
    return standard != 0 && url->port != standard;
}

/* The (anonymous or registered) text of a remote record, with `password` in
 * the password position and the path when `with_path` is set. */
static char *format_remote(const rpf_url *url, const char *prefix, const char *password, int with_path)
{
    const char *user = or_empty(url->user_name);
    const char *host = or_empty(url->host);
    const char *path = or_empty(url->path);
    const int port = rpf_url_hasUniquePort(url);
    /* The templates are the named globals; the formats are checked where they
     * are defined. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (url->anonymous) {
        if (with_path) {
            return port ? rpf_format(anonymousUrlFormatWithPort, prefix, host, url->port, path)
                        : rpf_format(anonymousUrlFormatWithoutPort, prefix, host, path);
        }
        return port ? rpf_format(anonymousUrlFormatWithPort_woPath, prefix, host, url->port)
                    : rpf_format(anonymousUrlFormatWithoutPort_woPath, prefix, host);
    }
    if (with_path) {
        return port ? rpf_format(registeredURLFormatWithPort, prefix, user, password, host, url->port, path)
                    : rpf_format(registeredURLFormatWithoutPort, prefix, user, password, host, path);
    }
    return port ? rpf_format(registeredURLFormatWithPort_woPath, prefix, user, password, host, url->port)
                : rpf_format(registeredURLFormatWithoutPort_woPath, prefix, user, password, host);
#pragma GCC diagnostic pop
}

/* The full form's text is sized for its parts plus a few characters for the
 * port: ":" and four digits for FTP and SFTP, one spare character for SMB,
 * none for AFP. A longer port cuts the end of the text, as it always has;
 * applications compare these texts, so the cut is kept. */
static size_t port_room(int32_t type)
{
    switch (type) {
    case RPF_URL_TYPE_FTP:
    case RPF_URL_TYPE_SFTP: return 5;
    case RPF_URL_TYPE_SMB: return 1;
    default: return 0;
    }
}

static char *file_text(const rpf_url *url)
{
    return rpf_concat("file://", or_empty(url->path), "");
}

/* Common opening of the three plain forms: null for a null record or an
 * unsupported type (with its message); otherwise the scheme prefix. */
static const char *checked_prefix(const rpf_url *url)
{
    if (url == NULL) {
        rpf_diag_line("Null URL passed in");
        return NULL;
    }
    const char *prefix = scheme_prefix(url->type);
    if (prefix == NULL) rpf_diag_line("Unsupported URL Type");
    return prefix;
}

char *rpf_url_string(const rpf_url *url)
{
    const char *prefix = checked_prefix(url);
    if (prefix == NULL) return NULL;
    if (url->type == RPF_URL_TYPE_FILE) return file_text(url);
    if ((!url->anonymous && url->user_name == NULL) || url->host == NULL) return NULL;

    const char *password = or_empty(url->password);
    char *text = format_remote(url, prefix, password, 1);
    if (text == NULL || !rpf_url_hasUniquePort(url)) return text;
    /* The room the text would have had: its length without the port, plus
     * the port allowance of its scheme. */
    rpf_url portless = *url;
    portless.port = rpf_url_default_port(url->type); /* a remote scheme here: checked_prefix let it through */
    char *short_text = format_remote(&portless, prefix, password, 1);
    if (short_text == NULL) {
        free(text);
        return NULL;
    }
    const size_t room = strlen(short_text) + port_room(url->type);
    free(short_text);
    if (strlen(text) > room) text[room] = '\0';
    return text;
}

char *rpf_url_string_clean(const rpf_url *url)
{
    const char *prefix = checked_prefix(url);
    if (prefix == NULL) return NULL;
    if (url->type == RPF_URL_TYPE_FILE) return file_text(url);
    return format_remote(url, prefix, "", 1);
}

char *rpf_url_string_pathless(const rpf_url *url)
{
    const char *prefix = checked_prefix(url);
    if (prefix == NULL) return NULL;
    switch (url->type) {
    case RPF_URL_TYPE_FILE: return rpf_concat(prefix, "", "");
    case RPF_URL_TYPE_FTP:
    case RPF_URL_TYPE_SFTP: return format_remote(url, prefix, "", 0);
    default: rpf_diag_line("Unsupported URL Type"); return NULL;
    }
}

char *rpf_ravix_url(const rpf_url *url, int32_t item_type, int32_t item_size)
{
    /* The clean form: the password position is always empty. */
    char *clean = rpf_url_string_clean(url);
    if (clean == NULL) return NULL;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    char *text = rpf_format(ravixUrlFormat, ravix_prefix, clean, (int)item_type, (int)item_size);
#pragma GCC diagnostic pop
    /* Sized for the clean text plus 27 characters, terminator included: two
     * long numbers do not fit and lose the end. */
    const size_t room = strlen(clean) + 26;
    free(clean);
    if (text != NULL && strlen(text) > room) text[room] = '\0';
    return text;
}

/* The number `offset` characters after `mark`, read up to `end`; 0 when the
 * text ends before that character. */
static int32_t number_after(const char *mark, size_t offset, const char *end)
{
    if (strnlen(mark, offset + 1) <= offset) return 0;
    const char *start = mark + offset;
    const size_t length = end == NULL || end < start ? strlen(start) : (size_t)(end - start);
    return rpf_url_decimal(start, length);
}

char *ravix_get_encapsulated_info(const char *text, int32_t *item_type, int32_t *size)
{
    /* "ravix://" and '<' are skipped, not compared. */
    const size_t skip = sizeof ravix_prefix; /* the prefix and the '<' */
    if (text == NULL || strnlen(text, skip) < skip) return NULL;
    const char *inner = text + skip;
    const char *close = strchr(inner, '>');
    if (close == NULL) return NULL;
    char *url = rpf_copy_range(inner, (size_t)(close - inner));
    if (url == NULL) return NULL;
    /* "><" then the item type, taken to be one digit: the size is read five
     * characters after the '>', so a two-digit type misreads it. */
    if (item_type != NULL) *item_type = number_after(close, 2, NULL);
    if (size != NULL) {
        const char *size_end = strnlen(close, 6) > 5 ? strchr(close + 5, '>') : NULL;
        *size = number_after(close, 5, size_end);
    }
    return url;
}

rpf_url *rpf_url_ravix_url_to_url(const char *text, int32_t *item_type)
{
    int32_t type = 0;
    int32_t size = 0;
    char *inner = ravix_get_encapsulated_info(text, &type, &size);
    rpf_url *url = inner == NULL ? NULL : rpf_url_new_from_string(inner);
    free(inner);
    if (url != NULL) url->size = size;
    if (item_type != NULL) *item_type = url == NULL ? -1 : type;
    return url;
}

/* The '/' is always added, even after one that ends the text: "ftp://h/" and
 * "x" give the path "/x". */
rpf_url *rpf_url_by_appending_item(const char *url_text, const char *item)
{
    if (url_text == NULL || item == NULL) return NULL;
    char *joined = rpf_concat(url_text, "/", item);
    if (joined == NULL) return NULL;
    rpf_url *url = rpf_url_new_from_string(joined);
    free(joined);
    return url;
}
