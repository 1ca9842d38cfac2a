#include "SecretService_p.h"

#include <libsecret/secret.h>

#include <memory>

namespace rk::platform {

namespace {

const SecretSchema *schemaFor(SecretItemKey::Kind kind)
{
    // Matching by attributes alone: items written by other clients carry
    // another (or no) xdg:schema attribute.
    static const SecretSchema internet = {
        "org.ravix.InternetPassword",
        SECRET_SCHEMA_DONT_MATCH_NAME,
        {
            {"server", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"port", SECRET_SCHEMA_ATTRIBUTE_INTEGER},
            {"protocol", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"authtype", SECRET_SCHEMA_ATTRIBUTE_INTEGER},
            {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
        },
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };
    static const SecretSchema generic = {
        "org.ravix.GenericPassword",
        SECRET_SCHEMA_DONT_MATCH_NAME,
        {
            {"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
        },
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };
    return kind == SecretItemKey::Kind::Internet ? &internet : &generic;
}

struct GErrorDeleter {
    void operator()(GError *error) const { g_error_free(error); }
};
struct GHashTableDeleter {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
struct GObjectDeleter {
    void operator()(void *object) const { g_object_unref(object); }
};
struct SecretValueDeleter {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using ErrorPtr = std::unique_ptr<GError, GErrorDeleter>;
using AttributesPtr = std::unique_ptr<GHashTable, GHashTableDeleter>;
using ServicePtr = std::unique_ptr<SecretService, GObjectDeleter>;
using CollectionPtr = std::unique_ptr<SecretCollection, GObjectDeleter>;
using ValuePtr = std::unique_ptr<SecretValue, SecretValueDeleter>;

AttributesPtr attributesFor(const SecretItemKey &key)
{
    AttributesPtr table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
    auto put = [&table](const char *name, const QByteArray &value) {
        g_hash_table_insert(table.get(), g_strdup(name), g_strdup(value.constData()));
    };
    if (key.kind == SecretItemKey::Kind::Internet) {
        put("server", key.server.toUtf8());
        put("account", key.account.toUtf8());
        put("port", QByteArray::number(key.port));
        put("protocol", kInternetProtocolFTP);
        put("authtype", "0");
    } else {
        put("service", key.server.toUtf8());
        put("account", key.account.toUtf8());
    }
    return table;
}

// A failure to reach the service, the service vanishing, or a default
// collection that does not exist (gnome-keyring answers UnknownMethod for an
// object path it does not have) reads as "no default keychain": the caller
// cannot store anything anywhere.
int32_t statusFor(const GError *error)
{
    if (error == nullptr) return keychain::kNoErr;
    if (error->domain == SECRET_ERROR && error->code == SECRET_ERROR_IS_LOCKED) return keychain::kInteractionNotAllowed;
    if (error->domain == G_DBUS_ERROR) {
        switch (error->code) {
        case G_DBUS_ERROR_UNKNOWN_OBJECT:
        case G_DBUS_ERROR_UNKNOWN_METHOD:
        case G_DBUS_ERROR_SERVICE_UNKNOWN:
        case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
        case G_DBUS_ERROR_NO_SERVER:
        case G_DBUS_ERROR_DISCONNECTED:
        case G_DBUS_ERROR_FILE_NOT_FOUND: return keychain::kNoDefaultKeychain;
        default: return keychain::kNotAvailable;
        }
    }
    if (error->domain == G_IO_ERROR && (error->code == G_IO_ERROR_CLOSED || error->code == G_IO_ERROR_NOT_FOUND)) {
        return keychain::kNoDefaultKeychain;
    }
    return keychain::kNotAvailable;
}

// The process's connection to the service, or the status of failing to make
// one. libsecret keeps the connection once made; a failure is tried again on
// the next call.
ServicePtr connect(int32_t *status)
{
    GError *raw = nullptr;
    ServicePtr service(secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &raw));
    const ErrorPtr error(raw);
    *status = service ? keychain::kNoErr : keychain::kNoDefaultKeychain;
    return service;
}

// Whether the default collection can take and give secrets: kNoErr, or
// kNoDefaultKeychain when there is none, or kInteractionNotAllowed when it is
// locked (unlocking would need a prompt, which the store never shows).
int32_t defaultCollectionStatus(SecretService *service)
{
    GError *raw = nullptr;
    const CollectionPtr collection(
        secret_collection_for_alias_sync(service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, &raw));
    const ErrorPtr error(raw);
    if (error) return statusFor(error.get());
    if (!collection) return keychain::kNoDefaultKeychain;
    return secret_collection_get_locked(collection.get()) ? keychain::kInteractionNotAllowed : keychain::kNoErr;
}

// Whether an item with these attributes exists (locked ones included).
int32_t exists(SecretService *service, const SecretItemKey &key, bool *found)
{
    const AttributesPtr attributes = attributesFor(key);
    GError *raw = nullptr;
    GList *items =
        secret_service_search_sync(service, schemaFor(key.kind), attributes.get(), SECRET_SEARCH_ALL, nullptr, &raw);
    const ErrorPtr error(raw);
    *found = items != nullptr;
    g_list_free_full(items, g_object_unref);
    return statusFor(error.get());
}

QByteArray labelFor(const SecretItemKey &key)
{
    return key.server.toUtf8();
}

} // namespace

int32_t secretServiceAdd(const SecretItemKey &key, const QByteArray &secret)
{
    int32_t status = keychain::kNoErr;
    const ServicePtr service = connect(&status);
    if (!service) return status;
    // A locked or missing collection refuses the store; asking first keeps a
    // locked item from reading as a duplicate that cannot be replaced.
    status = defaultCollectionStatus(service.get());
    if (status != keychain::kNoErr) return status;
    bool found = false;
    status = exists(service.get(), key, &found);
    if (status != keychain::kNoErr) return status;
    if (found) return keychain::kDuplicateItem;

    const AttributesPtr attributes = attributesFor(key);
    const ValuePtr value(secret_value_new(secret.constData(), secret.size(), "text/plain"));
    GError *raw = nullptr;
    secret_service_store_sync(service.get(), schemaFor(key.kind), attributes.get(), SECRET_COLLECTION_DEFAULT,
                              labelFor(key).constData(), value.get(), nullptr, &raw);
    const ErrorPtr error(raw);
    return statusFor(error.get());
}

int32_t secretServiceFind(const SecretItemKey &key, QByteArray *secret, int capacity)
{
    secret->clear();
    int32_t status = keychain::kNoErr;
    const ServicePtr service = connect(&status);
    if (!service) return status;

    const AttributesPtr attributes = attributesFor(key);
    GError *raw = nullptr;
    const ValuePtr value(
        secret_service_lookup_sync(service.get(), schemaFor(key.kind), attributes.get(), nullptr, &raw));
    const ErrorPtr error(raw);
    if (error || !value) {
        // Nothing readable: no item, or one a locked or missing collection
        // keeps (unlocking it would need a prompt, which fails or is refused).
        status = defaultCollectionStatus(service.get());
        if (status != keychain::kNoErr) return status;
        return error ? statusFor(error.get()) : keychain::kItemNotFound;
    }

    gsize length = 0;
    const gchar *bytes = secret_value_get(value.get(), &length);
    if (length > static_cast<gsize>(capacity)) return keychain::kBufferTooSmall;
    *secret = QByteArray(bytes, static_cast<qsizetype>(length));
    return keychain::kNoErr;
}

int32_t secretServiceDelete(const SecretItemKey &key)
{
    int32_t status = keychain::kNoErr;
    const ServicePtr service = connect(&status);
    if (!service) return status;
    // A locked collection is left untouched, as a store into it is refused.
    status = defaultCollectionStatus(service.get());
    if (status != keychain::kNoErr) return status;

    const AttributesPtr attributes = attributesFor(key);
    GError *raw = nullptr;
    const gboolean removed =
        secret_service_clear_sync(service.get(), schemaFor(key.kind), attributes.get(), nullptr, &raw);
    const ErrorPtr error(raw);
    if (error) return statusFor(error.get());
    return removed ? keychain::kNoErr : keychain::kItemNotFound;
}

} // namespace rk::platform
