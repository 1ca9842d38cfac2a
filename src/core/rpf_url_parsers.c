/* The four scheme parsers. FTP/SFTP, AFP and SMB texts share one reading
 * (scheme, optional "user:password@", host, optional ":port", path); the AFP
 * and SMB parsers trace every step on the diagnostic stream, each with its own
 * wording, and the FTP parser is silent.
 *
 * The reading of the password keeps its historical rule: when a second '@'
 * follows the first, the password is as long as the distance between them, so
 * "ftp://u:p@host/a@b" has the password "p@host" and the host "a@b". Every
 * scan is bounded by the text's terminator: where the old reading ran past it
 * (a port without a following '/', no '@' after the password's ':'), the
 * parser stops at the end or refuses the text. */
#include <rkcore/rpf_url.h>

#include <stddef.h>
#include <string.h>

#include "rpf_diagnostics_p.h"
#include "rpf_strings_p.h"
#include "rpf_url_p.h"

/* One scheme family: its prefixes and its trace wording. */
typedef struct scheme {
    const char *prefix;      /* first prefix tried */
    int32_t type;            /* its scheme code */
    int32_t port;            /* its default port */
    const char *prefix2;     /* second prefix, or null */
    int32_t type2;           /* ... its scheme code */
    int32_t port2;           /* ... its default port */
    int traced;              /* non-zero: the steps go to the diagnostic stream */
    const char *name;        /* parser name starting each trace */
    const char *detected;    /* line once the prefix is accepted, or null */
    const char *second_at;   /* line when the password holds an '@' */
    const char *no_password; /* line for an empty password */
} scheme;

static const scheme ftp_scheme = {
    "ftp://", RPF_URL_TYPE_FTP, RPF_URL_PORT_FTP, "sftp://", RPF_URL_TYPE_SFTP, RPF_URL_PORT_SFTP, 0, "", NULL, "", "",
};

static const scheme afp_scheme = {
    "afp://",
    RPF_URL_TYPE_AFP,
    RPF_URL_PORT_AFP,
    NULL,
    0,
    0,
    1,
    "afp_url_parser",
    "afp_url_parser : Detected AFP URL Prefix",
    "afp_url_parser : Found second @ in password",
    "\tEmpty password",
};

/* The SMB parser's second-'@' line names the FTP parser; scripts that read the
 * trace match on it, so it stays. */
static const scheme smb_scheme = {
    "smb://",
    RPF_URL_TYPE_SMB,
    RPF_URL_PORT_SMB,
    NULL,
    0,
    0,
    1,
    "smb_url_parser",
    NULL,
    "\tftp_url_parser : Found second @ in password",
    "smb_url_parser : Empty password",
};

/* A whole trace line, written only by the traced parsers. */
static void trace_line(const scheme *s, const char *line)
{
    if (s->traced) rpf_diag_line(line);
}

/* A whole trace line "<parser name> : <message>". */
static void trace_step(const scheme *s, const char *message)
{
    if (s->traced) rpf_diag_printf("%s : %s\n", s->name, message);
}

/* Stores the `length` bytes at `text` into *field; 0 when memory ran out. */
static int store_range(char **field, const char *text, size_t length)
{
    char *copy = rpf_copy_range(text, length);
    if (copy == NULL) return 0;
    rpf_url_store(field, copy);
    return 1;
}

/* Reads "user:password@" starting at `cursor`; returns where the host begins,
 * or null to refuse the text. */
static const char *read_login(const scheme *s, const char *url, const char *cursor, rpf_url *record)
{
    const char *user_end = strchr(cursor, ':');
    if (user_end == NULL) return NULL; /* a user without a password */
    const size_t user_length = (size_t)(user_end - cursor);
    if (!store_range(&record->user_name, cursor, user_length)) return NULL;
    if (s->traced) {
        rpf_diag_printf("%s : Username is %s and is %d characters long\n", s->name, record->user_name,
                        (int)user_length);
    }
    if (strncmp(record->user_name, "anonymous", 9) == 0 || strncmp(record->user_name, "guest", 5) == 0) {
        if (s->traced) {
            rpf_diag_printf("%s : Username is an anonymous alias\n", s->name);
            rpf_diag_printf("%s : Setting anonymous flag\n", s->name);
        }
        record->anonymous = 1;
    } else if (s->traced) {
        rpf_diag_printf("%s : Username is registered\n", s->name);
    }

    /* The '@' that closes the password; without one after the ':' (the '@'
     * seen earlier lay in the user name) there is no password to read. */
    const char *at = strchr(user_end + 1, '@');
    if (at == NULL) return NULL;
    const char *base = at + 1;
    const size_t url_length = strlen(url);
    const size_t processed = (size_t)(base - url);
    if (s->traced) {
        rpf_diag_printf("Base Pointer Location : %c\n", *base);
        rpf_diag_printf("URL Length : %d\n", (int)url_length);
        rpf_diag_printf("Total Process Chars : %d\n", (int)processed);
        rpf_diag_printf("Amount To Process : %d\n", (int)(url_length - processed));
    }
    size_t password_length = 0;
    const char *second = strchr(base, '@');
    if (second != NULL) {
        trace_line(s, s->second_at);
        password_length = (size_t)(second - base);
    } else {
        trace_line(s, "Did not find password with @ in it");
        if (s->traced) rpf_diag_printf("Last Char is : %c\n", *(at - 1));
        password_length = (size_t)(at - user_end) - 1;
    }
    if (password_length == 0) {
        trace_line(s, s->no_password);
        rpf_url_store(&record->password, NULL);
    } else {
        if (!store_range(&record->password, user_end + 1, password_length)) return NULL;
        if (s->traced) {
            rpf_diag_printf("%s : Password is %s and is %d characters long\n", s->name, record->password,
                            (int)password_length);
        }
    }
    /* The character after the password is taken as the '@'. Both ends lie
     * within the text: the password never runs past the second '@'. */
    return user_end + 1 + password_length + 1;
}

/* Reads ":port/path", "/path" or nothing after the host. */
static int read_rest(const scheme *s, const char *host_end, int32_t default_port, rpf_url *record)
{
    const char *path_start = NULL;
    if (*host_end == ':') {
        trace_step(s, "Found port");
        const char *digits = host_end + 1;
        const char *slash = strchr(digits, '/');
        /* A port that ends the text has no path after it. */
        const size_t length = slash == NULL ? strlen(digits) : (size_t)(slash - digits);
        record->port = rpf_url_decimal(digits, length);
        if (s->traced) {
            rpf_diag_printf("%s : Port is %d and is %d characters long \n", s->name, record->port, (int)length);
        }
        if (slash == NULL) {
            trace_step(s, "No Path information");
            return 1;
        }
        path_start = slash + 1;
    } else {
        record->port = default_port;
        if (*host_end == '\0') {
            trace_step(s, "No Path information");
            return 1;
        }
        path_start = host_end + 1;
    }
    const size_t path_length = strlen(path_start);
    if (s->traced) rpf_diag_printf("%s : Path string length is %d\n", s->name, (int)path_length);
    if (path_length == 0) {
        rpf_url_store(&record->path, NULL);
        return 1;
    }
    if (!store_range(&record->path, path_start, path_length)) return 0;
    if (s->traced) {
        rpf_diag_printf("%s : Path To Item is %s and is %d characters long\n", s->name, record->path, (int)path_length);
    }
    return 1;
}

static void parse(const scheme *s, const char *url, rpf_url *record, int *status)
{
    if (status == NULL) return;
    *status = 1;
    if (url == NULL || record == NULL) return;
    /* With the diagnostic stream off, the traced parsers run as the silent
     * one does: no message is formatted at all. */
    scheme quiet;
    if (s->traced && !rpf_diag_enabled()) {
        quiet = *s;
        quiet.traced = 0;
        s = &quiet;
    }
    trace_step(s, "Processing url");
    if (s->traced) rpf_diag_printf("\t>%s<\n", url);

    int32_t default_port = 0;
    if (strncmp(url, s->prefix, strlen(s->prefix)) == 0) {
        record->type = s->type;
        default_port = s->port;
    } else if (s->prefix2 != NULL && strncmp(url, s->prefix2, strlen(s->prefix2)) == 0) {
        record->type = s->type2;
        default_port = s->port2;
    } else {
        trace_step(s, "Prefix for url is wrong");
        return;
    }
    if (s->detected != NULL) trace_line(s, s->detected);

    trace_step(s, "Scanning url to see if it contains a username and password");
    if (s->traced) rpf_diag_printf("%s : Scanned character: ", s->name);
    const int has_login = strchr(url, '@') != NULL;
    if (s->traced) rpf_diag_printf("%s : Url %s authentication info\n", s->name, has_login ? "has" : "does not have");

    /* The scheme's ':'; the prefix guarantees "://" after it. */
    const char *colon = strchr(url, ':');
    if (colon == NULL) return;
    const char *host_start = colon + 3;
    if (has_login) {
        host_start = read_login(s, url, host_start, record);
        if (host_start == NULL) return;
    } else {
        trace_step(s, "No Authentication Info Found Assuming anonymous");
        record->anonymous = 1;
    }

    const size_t host_length = strcspn(host_start, ":/");
    if (!store_range(&record->host, host_start, host_length)) return;
    if (s->traced) {
        rpf_diag_printf("%s : Host is %s and is %d characters long\n", s->name, record->host, (int)host_length);
    }
    if (!read_rest(s, host_start + host_length, default_port, record)) return;
    trace_step(s, "URL Parsing Completed.");
    *status = 0;
}

void file_url_parser(const char *url, rpf_url *record, int *status)
{
    if (status == NULL) return;
    *status = 1;
    if (url == NULL || record == NULL || strncmp(url, "file://", 7) != 0) return;
    char *path = strdup(url + 7);
    if (path == NULL) return;
    record->type = RPF_URL_TYPE_FILE;
    rpf_url_store(&record->path, path);
    *status = 0;
}

void ftp_url_parser(const char *url, rpf_url *record, int *status)
{
    parse(&ftp_scheme, url, record, status);
}

void afp_url_parser(const char *url, rpf_url *record, int *status)
{
    parse(&afp_scheme, url, record, status);
}

void smb_url_parser(const char *url, rpf_url *record, int *status)
{
    parse(&smb_scheme, url, record, status);
}
