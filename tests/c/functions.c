// SPDX-License-Identifier: Apache-2.0
/* Every function of the C library, called in C11. */

#include "functions.h"

#include <sysconfreader_c.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef int TextFunction(char**);
typedef int NumberFunction(int*);
typedef int NamedFunction(const char*, char**);
typedef int EntryFunction(const char*, unsigned int, char**);

static const struct {
    const char* query;
    TextFunction* call;
} texts[] = {
    {"app-root", sysconfreader_app_root},
    {"localhost-ip-address", sysconfreader_localhost_ip_address},
    {"maintenance-ip-address", sysconfreader_maintenance_ip_address},
    {"wss-ip-address", sysconfreader_wss_ip_address},
    {"float-node-id", sysconfreader_float_node_id},
    {"source-node-id", sysconfreader_source_node_id},
    {"local-host-tag-name", sysconfreader_local_host_tag_name},
    {"product-name", sysconfreader_product_name},
    {"local-internal-service-ip", sysconfreader_local_internal_service_ip},
    {"master-internal-service-ip", sysconfreader_master_internal_service_ip},
    {"standby-internal-service-ip", sysconfreader_standby_internal_service_ip},
    {"local-maintenance-ip", sysconfreader_local_maintenance_ip},
    {"local-service-ip", sysconfreader_local_service_ip},
    {"local-service2-ip", sysconfreader_local_service2_ip},
    {"local-north-ip", sysconfreader_local_north_ip},
    {"local-south-ip", sysconfreader_local_south_ip},
    {"all-db-info", sysconfreader_all_db_info},
};

static const struct {
    const char* query;
    NumberFunction* call;
} numbers[] = {
    {"local-port", sysconfreader_local_port}, {"wss-port", sysconfreader_wss_port},
    {"corba-port", sysconfreader_corba_port}, {"corba-ssl-port", sysconfreader_corba_ssl_port},
    {"pf-type", sysconfreader_pf_type},
};

static const struct {
    const char* query;
    NamedFunction* call;
} named[] = {
    {"local-ip-by-usage", sysconfreader_local_ip_by_usage},
    {"db-info", sysconfreader_db_info},
};

static const struct {
    const char* query;
    EntryFunction* call;
} entries[] = {
    {"db-type", sysconfreader_db_type},
    {"db-access-host", sysconfreader_db_access_host},
    {"db-user-name", sysconfreader_db_user_name},
    {"db-password", sysconfreader_db_password},
    {"db-service-name", sysconfreader_db_service_name},
    {"db-server-name", sysconfreader_db_server_name},
    {"db-lib", sysconfreader_db_lib},
};

#define LENGTH(table) (sizeof(table) / sizeof(table)[0])

static unsigned int numberOf(const char* text) {
    return (unsigned int)strtoul(text, NULL, 10);
}

static size_t countOf(const char* const* texts_) {
    size_t length = 0;
    while (texts_[length] != NULL) {
        ++length;
    }
    return length;
}

static char* empty(void) {
    return calloc(1, 1);
}

static void add(char** all, const char* text, char separator) {
    const size_t length = strlen(*all);
    *all = realloc(*all, length + strlen(text) + 2);
    strcpy(*all + length, text);
    (*all)[strlen(*all) + 1] = '\0';
    (*all)[strlen(*all)] = separator;
}

/* Takes ownership of a list from the library. */
static char* linesOf(char** list, size_t inALine) {
    char* all = empty();
    size_t i;
    for (i = 0; list[i] != NULL; ++i) {
        add(&all, list[i], i % inALine == inALine - 1 ? '\n' : '\t');
    }
    sysconfreader_free(list);
    return all;
}

static char* linesOfNodes(char** list) {
    char* all = empty();
    size_t i = 0;
    while (list[i] != NULL) {
        unsigned int left = numberOf(list[i + 1]);
        add(&all, list[i], left != 0 ? '\t' : '\n');
        for (i += 2; left != 0; ++i) {
            --left;
            add(&all, list[i], left != 0 ? '\t' : '\n');
        }
    }
    sysconfreader_free(list);
    return all;
}

static char* ownCopy(char* text) {
    char* copy = NULL;
    if (text != NULL) {
        copy = malloc(strlen(text) + 1);
        strcpy(copy, text);
    }
    sysconfreader_free(text);
    return copy;
}

static char* textOf(int number) {
    char* text = malloc(32);
    snprintf(text, 32, "%d", number);
    return text;
}

int callFunction(const char* query, const char* const* arguments, char** text) {
    size_t i;
    int result = -1;
    int number = 0;
    char* answer = NULL;
    char** list = NULL;
    *text = NULL;
    for (i = 0; i < LENGTH(texts); ++i) {
        if (strcmp(query, texts[i].query) == 0) {
            result = texts[i].call(&answer);
        }
    }
    for (i = 0; i < LENGTH(named); ++i) {
        if (strcmp(query, named[i].query) == 0) {
            result = named[i].call(arguments[0], &answer);
        }
    }
    for (i = 0; i < LENGTH(entries); ++i) {
        if (strcmp(query, entries[i].query) == 0) {
            result = entries[i].call(arguments[0], numberOf(arguments[1]), &answer);
        }
    }
    if (result != -1) {
        *text = ownCopy(answer);
        return result;
    }
    for (i = 0; i < LENGTH(numbers); ++i) {
        if (strcmp(query, numbers[i].query) == 0) {
            result = numbers[i].call(&number);
        }
    }
    if (strcmp(query, "db-access-port") == 0) {
        result = sysconfreader_db_access_port(arguments[0], numberOf(arguments[1]), &number);
    }
    if (result != -1) {
        *text = result == SYSCONFREADER_OK ? textOf(number) : NULL;
        return result;
    }
    if (strcmp(query, "local-node-ips") == 0) {
        result = sysconfreader_local_node_ips(arguments[0], &list);
        *text = list != NULL ? linesOf(list, 2) : NULL;
    } else if (strcmp(query, "local-node-ips-by-tag") == 0) {
        result = sysconfreader_local_node_ips_by_tag(arguments, countOf(arguments), &list);
        *text = list != NULL ? linesOf(list, 2) : NULL;
    } else if (strcmp(query, "ip-addresses") == 0) {
        result = sysconfreader_ip_addresses(arguments[0], arguments[1], &list);
        *text = list != NULL ? linesOf(list, 1) : NULL;
    } else if (strcmp(query, "all-float-ip") == 0) {
        result = sysconfreader_all_float_ip(arguments, countOf(arguments), &list);
        *text = list != NULL ? linesOfNodes(list) : NULL;
    }
    return result;
}

static int check(int holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "not so: %s\n", what);
    }
    return holds ? 0 : 1;
}
#define CHECK(condition) check((condition) != 0, #condition)

int callTheRest(void) {
    int wrong = 0;
    int changes;
    size_t most = 0;
    unsigned long long generation;
    struct sysconfreader_status status;
    wrong += CHECK(sysconfreader_reload() == SYSCONFREADER_OK);
    generation = sysconfreader_generation();
    changes = sysconfreader_open_changes();
    wrong += CHECK(changes >= 3);
    wrong += CHECK(sysconfreader_reload() == SYSCONFREADER_OK);
    wrong += CHECK(sysconfreader_generation() == generation + 2);
    sysconfreader_close_changes(changes);
    wrong += CHECK(sysconfreader_get_status(&status, sizeof status) == SYSCONFREADER_OK);
    wrong += CHECK(status.last_load == generation + 2);
    wrong += CHECK(status.roles.manager_node_list.outcome == SYSCONFREADER_LOADED);
    wrong += CHECK(strcmp(sysconfreader_outcome_text(SYSCONFREADER_LOADED), "loaded") == 0);
    wrong += CHECK(
        strcmp(sysconfreader_subscription_text(SYSCONFREADER_SWITCHED_OFF), "switched off") == 0);
    wrong += CHECK(strcmp(sysconfreader_result_text(SYSCONFREADER_OK), "ok") == 0);
    wrong += CHECK(strcmp(sysconfreader_error(), "") == 0);
    wrong += CHECK(strcmp(sysconfreader_query_name(0), "app-root") == 0);
    wrong += CHECK(sysconfreader_query_help(0) != NULL);
    wrong += CHECK(sysconfreader_query_argument(0, 0) == NULL);
    wrong += CHECK(sysconfreader_query_arguments(0, &most) == 0 && most == 0);
    wrong += CHECK(sysconfreader_query_name(1000) == NULL);
    sysconfreader_free(NULL);
    wrong += CHECK(sysconfreader_destroy() == SYSCONFREADER_OK);
    return wrong;
}
