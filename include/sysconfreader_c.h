// SPDX-License-Identifier: Apache-2.0
#ifndef SYSCONFREADER_C_H
#define SYSCONFREADER_C_H

#include <stddef.h> // NOLINT(modernize-deprecated-headers): this is also C

/**
 * @file
 * The C interface of the configuration reader: libsysconfreader-c.so.1, pkg-config
 * "sysconfreader-c". For C11 and later, for C++, and for bindings of other languages.
 *
 * Queries. Each query is a function, and sysconfreader_get() calls every query by its name, which
 * is that of `sysconfctl get`: "local-service-ip" is sysconfreader_local_service_ip(). The first
 * call loads the files. Answers are those of the C++ classes (SysConfReader.h,
 * SysConfReader_i.h); environment, threads, forks, change events and the end of the process too
 * (docs/embed.md).
 *
 * Results. Functions that return `int` return SYSCONFREADER_OK or another enum
 * sysconfreader_result. Unless the result is SYSCONFREADER_OK, the output is set to NULL or 0. An
 * empty text, and the number -1, are SYSCONFREADER_NO_ANSWER; a port of 0 is an answer. After any
 * other result, sysconfreader_error() describes it. No C++ exception leaves a function.
 *
 * Texts. Each `char *` and `char **` that a function stores through an output parameter belongs to
 * the caller, who frees it with sysconfreader_free(). A `const char *` result belongs to the
 * library. Texts are bytes, usually UTF-8, and end at the first NUL byte of the value.
 */

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define SYSCONFREADER_C_API __attribute__((visibility("default")))
#else
#define SYSCONFREADER_C_API
#endif

/** Results of functions. Later versions may add some. */
enum sysconfreader_result {
    /** Success. */
    SYSCONFREADER_OK = 0,
    /** Nothing is configured, or a file could not be read; see sysconfreader_status(). */
    SYSCONFREADER_NO_ANSWER = 1,
    /** A database, or its field, has another type than the query needs. */
    SYSCONFREADER_WRONG_TYPE = 2,
    /** sysconfreader_get() has no query of that name. */
    SYSCONFREADER_UNKNOWN_QUERY = 3,
    /** Too many or too few arguments, an index that is no number, or a null pointer. */
    SYSCONFREADER_BAD_ARGUMENT = 4,
    /** Nothing is stored, and nothing has changed except by a load. */
    SYSCONFREADER_OUT_OF_MEMORY = 5,
    /** Any other failure, such as an exception of the event library. */
    SYSCONFREADER_INTERNAL = 6
};

/** Describes a result in a few English words. Never NULL. */
SYSCONFREADER_C_API const char* sysconfreader_result_text(int result);

/**
 * Describes the last failure of this thread, "" if there was none since its last successful call.
 * Valid until the next call of the thread.
 */
SYSCONFREADER_C_API const char* sysconfreader_error(void);

/** Frees what a function has stored for the caller. NULL is ignored. Keeps errno. */
SYSCONFREADER_C_API void sysconfreader_free(void* stored);

/** @name Every query by its name */
/** @{ */

/** Formats of sysconfreader_get(). */
enum sysconfreader_format {
    /**
     * As `sysconfctl get` writes to a pipe: a text or a number alone; a line for each address of a
     * list; a line "key TAB address" for each key of a map; JSON for a JSON value. Each line of a
     * list or map ends with a line feed. "" is an empty list or map. Nothing is escaped: an address
     * ends at its first NUL, and may contain line feeds. JSON keeps both.
     */
    SYSCONFREADER_TEXT = 0,
    /** A JSON value on one line: a string, a number, an array, or an object. */
    SYSCONFREADER_JSON = 1
};

/**
 * Calls a query. `arguments` has `size` texts, those of `sysconfctl get`; it may be NULL if
 * `size` is 0. Stores the answer in `*text`. Passwords are not masked.
 */
SYSCONFREADER_C_API int sysconfreader_get(const char* query, const char* const* arguments,
                                          size_t size, enum sysconfreader_format format,
                                          char** text);

/** The name of a query, by its index from 0; NULL past the last one. */
SYSCONFREADER_C_API const char* sysconfreader_query_name(size_t index);
/** What it answers, in a few English words; NULL past the last one. */
SYSCONFREADER_C_API const char* sysconfreader_query_help(size_t index);
/** The name of an argument of the query, by its index from 0; NULL past the last one. */
SYSCONFREADER_C_API const char* sysconfreader_query_argument(size_t query, size_t argument);
/**
 * The least number of arguments of the query, and in `*most` the greatest one; (size_t)-1 is
 * unlimited. 0 and 0 past the last query.
 */
SYSCONFREADER_C_API size_t sysconfreader_query_arguments(size_t query, size_t* most);
/** @} */

/** @name This process */
/** @{ */
/** The install root: the value of `APP_ROOT`. */
SYSCONFREADER_C_API int sysconfreader_app_root(char** text);
/** The local address of this process. */
SYSCONFREADER_C_API int sysconfreader_localhost_ip_address(char** text);
/** The local port, 0 for none. */
SYSCONFREADER_C_API int sysconfreader_local_port(int* number);
/** The maintenance address of this process. */
SYSCONFREADER_C_API int sysconfreader_maintenance_ip_address(char** text);
/** The secure web-socket address. */
SYSCONFREADER_C_API int sysconfreader_wss_ip_address(char** text);
/** The secure web-socket port, 0 for none. */
SYSCONFREADER_C_API int sysconfreader_wss_port(int* number);
/** The CORBA port, 0 for none. */
SYSCONFREADER_C_API int sysconfreader_corba_port(int* number);
/** The CORBA port over SSL, 0 for none. */
SYSCONFREADER_C_API int sysconfreader_corba_ssl_port(int* number);
/** @} */

/** @name This node and its role */
/** @{ */
/** The node that this one answers for: itself, or the one that it stands in for. */
SYSCONFREADER_C_API int sysconfreader_float_node_id(char** text);
/** The node whose service address this host has. */
SYSCONFREADER_C_API int sysconfreader_source_node_id(char** text);
/** The host tag of the float node. */
SYSCONFREADER_C_API int sysconfreader_local_host_tag_name(char** text);
/** The tenancy of this node. */
SYSCONFREADER_C_API int sysconfreader_product_name(char** text);
/** The internal-service address of this node. */
SYSCONFREADER_C_API int sysconfreader_local_internal_service_ip(char** text);
/** The internal-service address of the master. */
SYSCONFREADER_C_API int sysconfreader_master_internal_service_ip(char** text);
/** The internal-service address of the standby. */
SYSCONFREADER_C_API int sysconfreader_standby_internal_service_ip(char** text);
/** @} */

/** @name Addresses of this node */
/** @{ */
/** The maintenance address of this node. */
SYSCONFREADER_C_API int sysconfreader_local_maintenance_ip(char** text);
/** The service address, else the maintenance address of this process. */
SYSCONFREADER_C_API int sysconfreader_local_service_ip(char** text);
/** The second service address. */
SYSCONFREADER_C_API int sysconfreader_local_service2_ip(char** text);
/** The first address with the tag `usage`. */
SYSCONFREADER_C_API int sysconfreader_local_ip_by_usage(const char* usage, char** text);
/** The addresses towards upper systems, by slots. */
SYSCONFREADER_C_API int sysconfreader_local_north_ip(char** text);
/** The addresses towards managed equipment, by slots. */
SYSCONFREADER_C_API int sysconfreader_local_south_ip(char** text);
/** The protocols of the southbound addresses: 0 is IPv4, 1 is IPv6, 2 is both. */
SYSCONFREADER_C_API int sysconfreader_pf_type(int* number);

/**
 * Stores a list of alternating keys and addresses, ended by NULL: the numbers in ascending order,
 * then "service" and "service2" if they are not empty.
 */
SYSCONFREADER_C_API int sysconfreader_local_node_ips(const char* prefix, char*** pairs);
/**
 * Stores a list of alternating tags and addresses, ended by NULL: of each of the `size` tags, and
 * of each southbound tag that has an address.
 */
SYSCONFREADER_C_API int sysconfreader_local_node_ips_by_tag(const char* const* tags, size_t size,
                                                            char*** pairs);
/** @} */

/** @name All nodes */
/** @{ */

/** Stores a list of addresses, ended by NULL. */
SYSCONFREADER_C_API int sysconfreader_ip_addresses(const char* field, const char* prefix,
                                                   char*** addresses);
/**
 * Stores for each node its id, the number of its addresses as a decimal text, and its addresses,
 * all in one list that is ended by NULL.
 */
SYSCONFREADER_C_API int sysconfreader_all_float_ip(const char* const* tags, size_t size,
                                                   char*** nodes);
/** @} */

/** @name Databases */
/** @{ */

/** Stores all databases as one JSON object on one line. */
SYSCONFREADER_C_API int sysconfreader_all_db_info(char** json);
/** Stores a database as JSON on one line. */
SYSCONFREADER_C_API int sysconfreader_db_info(const char* name, char** json);
/** The type of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_type(const char* name, unsigned int index, char** text);
/** The host of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_access_host(const char* name, unsigned int index,
                                                     char** text);
/** The port of a database entry, 0 for none. */
SYSCONFREADER_C_API int sysconfreader_db_access_port(const char* name, unsigned int index,
                                                     int* number);
/** The user of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_user_name(const char* name, unsigned int index,
                                                   char** text);
/** The password of a database entry, verbatim. */
SYSCONFREADER_C_API int sysconfreader_db_password(const char* name, unsigned int index,
                                                  char** text);
/** The service of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_service_name(const char* name, unsigned int index,
                                                      char** text);
/** The server of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_server_name(const char* name, unsigned int index,
                                                     char** text);
/** The client library of a database entry. */
SYSCONFREADER_C_API int sysconfreader_db_lib(const char* name, unsigned int index, char** text);
/** @} */

/** @name Loads */
/** @{ */

/** Loads both readers again, as a change event does. */
SYSCONFREADER_C_API int sysconfreader_reload(void);

/**
 * Frees the readers and ends the subscription to change events. The next query loads again. No
 * other thread may be in a query.
 */
SYSCONFREADER_C_API int sysconfreader_destroy(void);
/** @} */

/** @name Status and changes */
/** @{ */

/** Values of sysconfreader_file.outcome. */
enum sysconfreader_outcome {
    SYSCONFREADER_NOT_READ = 0,
    SYSCONFREADER_LOADED = 1,
    SYSCONFREADER_MISSING = 2,
    SYSCONFREADER_NOT_PERMITTED = 3,
    SYSCONFREADER_NOT_REGULAR = 4,
    SYSCONFREADER_TOO_LARGE = 5,
    SYSCONFREADER_UNREADABLE = 6,
    SYSCONFREADER_MALFORMED = 7,
    SYSCONFREADER_VALUE_OF_WRONG_TYPE = 8,
    SYSCONFREADER_SHORTAGE = 9
};

/** Values of sysconfreader_status.subscription. */
enum sysconfreader_subscription {
    SYSCONFREADER_NOT_SUBSCRIBED = 0,
    SYSCONFREADER_SUBSCRIBED = 1,
    SYSCONFREADER_SWITCHED_OFF = 2,
    SYSCONFREADER_NO_EVENT_LIBRARY = 3,
    SYSCONFREADER_NO_ENTRY_POINT = 4,
    SYSCONFREADER_REFUSED = 5
};

/** A file in a load: SysConfReaderStatus::File in SysConfReaderStatus.h. */
struct sysconfreader_file {
    int outcome;
    int error;
    unsigned int line;
    unsigned int column;
    char pointer[256];
};

/** The last load of a reader: SysConfReaderStatus::Load. */
struct sysconfreader_load {
    unsigned long long number;
    long long started_at;
    long long duration;
    int shortage;
    struct sysconfreader_file app_config;
    struct sysconfreader_file node_list;
    struct sysconfreader_file manager_node_list;
};

/** SysConfReaderStatus. Later versions may add members at the end. */
struct sysconfreader_status {
    unsigned long long last_load;
    unsigned long long events_applied;
    unsigned long long events_failed;
    unsigned long long events_dropped;
    int subscription;
    char event_library[1024];
    struct sysconfreader_load reader;
    struct sysconfreader_load roles;
};

/**
 * Stores the present status, as many bytes as the caller's `size`, which is
 * sizeof(struct sysconfreader_status); members that this library does not know are set to 0.
 * Creates nothing, needs no memory, waits for no load.
 */
SYSCONFREADER_C_API int sysconfreader_get_status(struct sysconfreader_status* status, size_t size);

/** The number of the last load of either reader, 0 before the first one. */
SYSCONFREADER_C_API unsigned long long sysconfreader_generation(void);

/** Describes an outcome of a file in a few English words. Never NULL. */
SYSCONFREADER_C_API const char* sysconfreader_outcome_text(int outcome);
/** Describes a state of the subscription in a few English words. Never NULL. */
SYSCONFREADER_C_API const char* sysconfreader_subscription_text(int subscription);

/**
 * Opens a descriptor that becomes readable after each load: SysConfReaderStatus::openDescriptor().
 * Returns -1 with the reason in errno if that fails.
 */
SYSCONFREADER_C_API int sysconfreader_open_changes(void);
/** Closes such a descriptor. Any other is ignored. */
SYSCONFREADER_C_API void sysconfreader_close_changes(int descriptor);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* SYSCONFREADER_C_H */
