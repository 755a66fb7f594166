// SPDX-License-Identifier: Apache-2.0
#include "CTexts.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

using namespace sysconfreader_c;
using Quarncommon::queries::Occurs;
using Quarncommon::queries::Query;

namespace {

/// Built when the library is loaded: a child that is forked while another thread builds it would
/// wait for that thread.
const std::vector<Query>& g_queries = Quarncommon::queries::queries();

const Query* queryAt(std::size_t index) {
    return index < g_queries.size() ? &g_queries[index] : nullptr;
}

/// The query that a function of this library is named after.
const Query& queryOf(std::string_view function) {
    constexpr std::string_view kPrefix = "sysconfreader_";
    std::string name(function.substr(kPrefix.size()));
    for (char& c : name) {
        c = c == '_' ? '-' : c;
    }
    return *Quarncommon::queries::queryNamed(name);
}

std::string given(const char* text) {
    if (text == nullptr) {
        throw BadArgument();
    }
    return text;
}

Arguments given(const char* const* texts, std::size_t size) {
    if (texts == nullptr && size != 0) {
        throw BadArgument();
    }
    Arguments arguments;
    for (std::size_t i = 0; i < size; ++i) {
        arguments.push_back(given(texts[i]));
    }
    return arguments;
}

/// Clears the output, asks, and stores what `convert` makes of the answer.
template <typename Output, typename Convert>
int store(Output* output, const Query& query, const Arguments& arguments, Convert convert) {
    if (output == nullptr || !takesArguments(query, arguments.size())) {
        throw BadArgument();
    }
    const Answer answer = query.ask(arguments);
    if (!answer.isAnswered()) {
        return SYSCONFREADER_NO_ANSWER;
    }
    *output = convert(answer);
    return SYSCONFREADER_OK;
}

template <typename Output>
void clear(Output* output) {
    if (output != nullptr) {
        *output = Output();
    }
}

/// `arguments()` returns the arguments of the query; it may throw.
template <typename MakeArguments>
int text(const char* function, char** output, MakeArguments arguments) {
    clear(output);
    return guarded([&] {
        return store(output, queryOf(function), arguments(), [](const Answer& answer) {
            return copied(formatted(answer, SYSCONFREADER_TEXT));
        });
    });
}

template <typename MakeArguments>
int number(const char* function, int* output, MakeArguments arguments) {
    clear(output);
    return guarded([&] {
        return store(output, queryOf(function), arguments(),
                     [](const Answer& answer) { return std::get<int>(answer.value); });
    });
}

template <typename MakeArguments>
int list(const char* function, char*** output, MakeArguments arguments) {
    clear(output);
    return guarded([&] {
        return store(output, queryOf(function), arguments(),
                     [](const Answer& answer) { return copied(flat(answer)); });
    });
}

Arguments none() {
    return {};
}

int text(const char* function, char** output) {
    return text(function, output, none);
}

int number(const char* function, int* output) {
    return number(function, output, none);
}

auto entryOf(const char* name, unsigned int index) {
    return [=] { return Arguments{given(name), std::to_string(index)}; };
}

} // namespace

int sysconfreader_get(const char* query, const char* const* arguments, size_t size,
                      enum sysconfreader_format format, char** text) {
    clear(text);
    return guarded([&] {
        const Query* found = Quarncommon::queries::queryNamed(given(query));
        if (found == nullptr) {
            throw UnknownQuery();
        }
        return store(text, *found, given(arguments, size),
                     [&](const Answer& answer) { return copied(formatted(answer, format)); });
    });
}

const char* sysconfreader_query_name(size_t index) {
    const Query* query = queryAt(index);
    return query != nullptr ? query->name.data() : nullptr;
}

const char* sysconfreader_query_help(size_t index) {
    const Query* query = queryAt(index);
    return query != nullptr ? query->help.data() : nullptr;
}

const char* sysconfreader_query_argument(size_t query, size_t argument) {
    const Query* found = queryAt(query);
    return found != nullptr && argument < found->parameters.size()
               ? found->parameters[argument].name.data()
               : nullptr;
}

size_t sysconfreader_query_arguments(size_t query, size_t* most) {
    const Query* found = queryAt(query);
    const std::size_t parameters = found != nullptr ? found->parameters.size() : 0;
    const Occurs last = parameters != 0 ? found->parameters.back().occurs : Occurs::Once;
    if (most != nullptr) {
        *most = last == Occurs::Once ? parameters : std::numeric_limits<std::size_t>::max();
    }
    return last == Occurs::AnyTimes ? parameters - 1 : parameters;
}

int sysconfreader_app_root(char** output) {
    return text(__func__, output);
}
int sysconfreader_localhost_ip_address(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_port(int* output) {
    return number(__func__, output);
}
int sysconfreader_maintenance_ip_address(char** output) {
    return text(__func__, output);
}
int sysconfreader_wss_ip_address(char** output) {
    return text(__func__, output);
}
int sysconfreader_wss_port(int* output) {
    return number(__func__, output);
}
int sysconfreader_corba_port(int* output) {
    return number(__func__, output);
}
int sysconfreader_corba_ssl_port(int* output) {
    return number(__func__, output);
}
int sysconfreader_float_node_id(char** output) {
    return text(__func__, output);
}
int sysconfreader_source_node_id(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_host_tag_name(char** output) {
    return text(__func__, output);
}
int sysconfreader_product_name(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_internal_service_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_master_internal_service_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_standby_internal_service_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_maintenance_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_service_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_service2_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_ip_by_usage(const char* usage, char** output) {
    return text(__func__, output, [&] { return Arguments{given(usage)}; });
}
int sysconfreader_local_north_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_local_south_ip(char** output) {
    return text(__func__, output);
}
int sysconfreader_pf_type(int* output) {
    return number(__func__, output);
}
int sysconfreader_local_node_ips(const char* prefix, char*** pairs) {
    return list(__func__, pairs, [&] { return Arguments{given(prefix)}; });
}
int sysconfreader_local_node_ips_by_tag(const char* const* tags, size_t size, char*** pairs) {
    return list(__func__, pairs, [&] { return given(tags, size); });
}
int sysconfreader_ip_addresses(const char* field, const char* prefix, char*** addresses) {
    return list(__func__, addresses, [&] { return Arguments{given(field), given(prefix)}; });
}
int sysconfreader_all_float_ip(const char* const* tags, size_t size, char*** nodes) {
    return list(__func__, nodes, [&] { return given(tags, size); });
}
int sysconfreader_all_db_info(char** json) {
    return text(__func__, json);
}
int sysconfreader_db_info(const char* name, char** json) {
    return text(__func__, json, [&] { return Arguments{given(name)}; });
}
int sysconfreader_db_type(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_access_host(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_access_port(const char* name, unsigned int index, int* output) {
    return number(__func__, output, entryOf(name, index));
}
int sysconfreader_db_user_name(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_password(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_service_name(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_server_name(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}
int sysconfreader_db_lib(const char* name, unsigned int index, char** output) {
    return text(__func__, output, entryOf(name, index));
}

int sysconfreader_reload(void) {
    return guarded([] {
        Quarncommon::SysConfReaderImpl::Instance()->Reload();
        return SYSCONFREADER_OK;
    });
}

int sysconfreader_destroy(void) {
    return guarded([] {
        Quarncommon::SysConfReader::Destory();
        return SYSCONFREADER_OK;
    });
}
