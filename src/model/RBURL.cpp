#include <rkcore/RBURL.h>

#include <rkcore/AssertionFailure.h>
#include <rkcore/Logging.h>
#include <rkcore/RBKeychain.h>
#include <rkcore/rpf_memory.h>

#include "../foundation/CoreTraces_p.h"

#include <cstring>
#include <memory>
#include <utility>

namespace rk {

namespace {

// Where the nil-string assertion of initWithString reports itself.
constexpr const char *kInitMethod = "-[RBURL initWithString:]";
constexpr const char *kSourceFile = "RBURL.m";
constexpr int kNilStringLine = 97;

// A text the core made, as a QString (null for none), freed.
QString take(char *text)
{
    const rpf::Text owned(text);
    return owned ? QString::fromUtf8(owned.get()) : QString();
}

QString fromRecord(const char *text)
{
    return text != nullptr ? QString::fromUtf8(text) : QString();
}

// The characters after the last '/' of `text`: "" when it ends in '/', the whole
// text when it has none.
QString pathLastComponent(const char *text)
{
    const char *slash = std::strrchr(text, '/');
    return QString::fromUtf8(slash != nullptr ? slash + 1 : text);
}

// The last path component: trailing '/'s ignored, "/" stays "/".
QString lastPathComponent(const QString &path)
{
    QStringView view(path);
    while (view.size() > 1 && view.endsWith(QLatin1Char('/')))
        view.chop(1);
    if (view == QLatin1String("/")) return QStringLiteral("/");
    const qsizetype slash = view.lastIndexOf(QLatin1Char('/'));
    return view.mid(slash + 1).toString();
}

// The dump shows a missing value as the system log does.
QString orNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("(null)") : text;
}

// The full text with the password position masked: the dump's URL line must
// not repeat the password that only its Password line may show.
QString maskedFullText(const rpf_url *record)
{
    if (record == nullptr || record->password == nullptr) return take(rpf_url_string(record));
    char mask[] = "********";
    rpf_url view = *record; // shallow: borrows the record's texts, frees none
    view.password = mask;
    return take(rpf_url_string(&view));
}

// What a URL text's login part holds as a password, as far as the text alone
// tells: the characters between the user name's ':' and the last '@'. The
// parsers trace the text (and refuse some with a login) before any record
// names the password, so this is masked as well as the record's own.
QByteArray passwordWrittenIn(QByteArrayView text)
{
    const QByteArrayView encapsulated("ravix://<");
    if (text.startsWith(encapsulated)) text = text.sliced(encapsulated.size());
    const qsizetype scheme = text.indexOf(QByteArrayView("://"));
    if (scheme < 0) return {};
    const QByteArrayView rest = text.sliced(scheme + 3);
    const qsizetype at = rest.lastIndexOf('@');
    const qsizetype colon = at < 0 ? -1 : rest.first(at).indexOf(':');
    return colon < 0 ? QByteArray() : rest.sliced(colon + 1, at - colon - 1).toByteArray();
}

// Parses `text` with `parse` (a core call that runs the scheme parsers) and
// keeps the parsers' traces off standard output: they go to the rkcore
// category at debug level, the password masked (see CoreTraces_p.h).
template <typename Parse> rpf_url *parseQuietly(const QByteArray &text, Parse parse)
{
    CoreTraceScope traces;
    traces.maskSecret(passwordWrittenIn(text));
    rpf_url *record = parse(text.constData());
    if (record != nullptr && record->password != nullptr) traces.maskSecret(QByteArray(record->password));
    return record;
}

} // namespace

RBURL::RBURL(Tag /*unused*/, rpf_url *record) : _ourURL(record) {}

RBURL::~RBURL()
{
    rpf_url_dealloc(_ourURL);
}

std::shared_ptr<RBURL> RBURL::newLocalURLForPath(const QString &path)
{
    rpf_url *record = rpf_url_new_local(path.toUtf8().constData());
    if (record == nullptr) return nullptr;
    return std::make_shared<RBURL>(Tag{}, record);
}

std::shared_ptr<RBURL> RBURL::newURLByAppending(const QString &itemName, const QString &urlString)
{
    std::shared_ptr<RBURL> url = initWithString(urlString);
    if (!url) return nullptr;
    const QString current = url->path();
    QString newPath;
    if (current == QLatin1String("/")) {
        newPath = QLatin1Char('/') + itemName;
    } else if (current.isNull()) {
        newPath = itemName; // a remote path has no leading '/': the item at the top
    } else {
        newPath = current + QLatin1Char('/') + itemName;
    }
    url->setNewPath(newPath);
    return url;
}

std::shared_ptr<RBURL> RBURL::initWithString(const QString &urlString)
{
    if (urlString.isNull()) {
        assertionFailed(QString::fromLatin1(kInitMethod), nullptr, QString::fromLatin1(kSourceFile), kNilStringLine,
                        QStringLiteral("URL String Was NULL"));
    }
    rpf_url *record = parseQuietly(urlString.toUtf8(), [](const char *text) { return rpf_url_new_from_string(text); });
    if (record == nullptr) return nullptr;
    auto url = std::make_shared<RBURL>(Tag{}, record);
    url->setURIType(RPF_URL_ITEM_UNKNOWN);
    return url;
}

std::shared_ptr<RBURL> RBURL::initWithRavixURLString(const QString &ravixString)
{
    if (ravixString.isNull()) return nullptr;
    int32_t itemType = 0;
    rpf_url *record = parseQuietly(ravixString.toUtf8(),
                                   [&itemType](const char *text) { return rpf_url_ravix_url_to_url(text, &itemType); });
    if (record == nullptr) return nullptr;
    auto url = std::make_shared<RBURL>(Tag{}, record);
    url->setURIType(itemType);
    return url;
}

std::shared_ptr<RBURL> RBURL::copy() const
{
    const QString text = urlAsString();
    if (text.isNull()) return nullptr;
    return initWithString(text);
}

rpf_url *RBURL::cstruct() const
{
    return _ourURL;
}

rpf_url *RBURL::setCStruct(rpf_url *record)
{
    return std::exchange(_ourURL, record);
}

void RBURL::setURIType(int32_t itemType)
{
    _itemTypeWePointTo = itemType;
    rpf_ravix_url_set_type(_ourURL, itemType);
}

int32_t RBURL::uriType() const
{
    return rpf_ravix_url_item_type(_ourURL);
}

QString RBURL::username() const
{
    const char *name = rpf_url_userName(_ourURL);
    return name != nullptr ? QString::fromUtf8(name) : QStringLiteral("No Username");
}

QString RBURL::password() const
{
    if (const char *stored = rpf_url_passWord(_ourURL); stored != nullptr) return QString::fromUtf8(stored);
    QString found =
        RBKeychain::sharedKeychain().findInternetPasswordForHost(hostname(), username(), static_cast<uint16_t>(port()));
    if (found.isNull()) return {};
    // Kept in the record: later calls (and the full text) use it without
    // asking the keychain again.
    rpf_url_set_passWord(_ourURL, found.toUtf8().constData());
    return found;
}

QString RBURL::hostname() const
{
    return fromRecord(rpf_url_host(_ourURL));
}

int32_t RBURL::port() const
{
    return rpf_url_port(_ourURL);
}

QString RBURL::path() const
{
    return fromRecord(rpf_url_itemPath(_ourURL));
}

QString RBURL::filename() const
{
    const QString current = path();
    return current.isNull() ? QString() : lastPathComponent(current);
}

QString RBURL::itemName() const
{
    const char *current = rpf_url_itemPath(_ourURL);
    return current != nullptr ? pathLastComponent(current) : QString();
}

int32_t RBURL::itemSize() const
{
    return rpf_url_size(_ourURL);
}

bool RBURL::isAnonymous() const
{
    return rpf_url_isAnonymous(_ourURL) != 0;
}

bool RBURL::isFTPURL() const
{
    return rpf_url_isFTP(_ourURL) != 0;
}

bool RBURL::isSecureFTPURL() const
{
    return rpf_url_isSecureFTP(_ourURL) != 0;
}

bool RBURL::isLocalFileURL() const
{
    return rpf_url_isLocal(_ourURL) != 0;
}

bool RBURL::itemPointedToIsADirectory() const
{
    return uriType() == RPF_URL_ITEM_DIRECTORY;
}

bool RBURL::itemPointedToIsAFile() const
{
    return uriType() == RPF_URL_ITEM_FILE;
}

bool RBURL::itemPointedToIsAlias() const
{
    return uriType() == RPF_URL_ITEM_ALIAS;
}

void RBURL::setIsAnonymous(bool anonymous)
{
    rpf_url_setAnonymous(_ourURL, anonymous ? 1 : 0);
}

void RBURL::setNewPath(const QString &path)
{
    rpf_url_setPath(_ourURL, path.isNull() ? nullptr : path.toUtf8().constData());
}

QString RBURL::urlAsString() const
{
    return take(rpf_url_string(_ourURL));
}

QString RBURL::urlAsCleanString() const
{
    return take(rpf_url_string_clean(_ourURL));
}

QString RBURL::urlWithoutPath() const
{
    return take(rpf_url_string_pathless(_ourURL));
}

QString RBURL::urlAsRavixStringWithType(int32_t itemType) const
{
    return take(rpf_ravix_url(_ourURL, itemType, rpf_url_size(_ourURL)));
}

bool RBURL::_savePasswordInKeychain() const
{
    const QString secret = password();
    const QString host = hostname();
    const QString user = username();
    if (secret.isNull() || host.isNull() || user.isNull()) return false;
    if (isLocalFileURL()) return true;
    return RBKeychain::sharedKeychain().setInternetPassword(secret, host, user, static_cast<uint16_t>(port()));
}

void RBURL::dump() const
{
    const auto line = [](const QString &text) { qCInfo(rkcoreLog).noquote() << text; };
    line(QStringLiteral("RBURL Dump"));
    line(QStringLiteral("\tGeneral Info"));
    line(QStringLiteral("\t\tUsername : %1").arg(orNull(username())));
    line(QStringLiteral("\t\tPassword : %1").arg(orNull(password())));
    line(QStringLiteral("\t\tPort : %1").arg(port()));
    line(QStringLiteral("\t\tPath/Share : %1").arg(orNull(path())));
    line(QStringLiteral("\t\tHostname : %1").arg(orNull(hostname())));
    line(QStringLiteral("\tOutput Formats"));
    line(QStringLiteral("\t\tRavix URL : %1").arg(orNull(urlAsRavixStringWithType(RPF_URL_ITEM_FILE))));
    line(QStringLiteral("\t\tClean String : %1").arg(orNull(urlAsCleanString())));
    line(QStringLiteral("\t\tURL : %1").arg(orNull(maskedFullText(_ourURL))));
    line(QStringLiteral("End RBURL Dump"));
}

} // namespace rk
