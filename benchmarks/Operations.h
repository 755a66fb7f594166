// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Environment.h"
#include "Suite.h"
#include "support/Queries.h"

#include <initializer_list>
#include <list>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

template <typename Reader, typename Roles>
struct Singletons {
    static Reader& reader() { return *Reader::Instance(); }
    static Roles& roles() { return *Roles::Instance(); }
    static void forget() { Reader::Destory(); }

    static std::string loaded() {
        Reader& r = reader();
        Roles& o = roles();
        const std::string port = std::to_string(r.getLocalPort());
        const std::string accessPort = std::to_string(r.getDBAccessPort("inventory", 0));
        std::string all;
        for (const std::string& value :
             {r.getFloatNodeId(), r.getMaintenanceIPAddress(), r.getLocalHostTagName(), port,
              accessPort, r.getDBUserName("alarms", 1), o.GetLocalInternalServiceIP(),
              o.GetMasterInternalServiceIP(), o.GetStandbyInternalServiceIP(),
              o.GetProductName()}) {
            all += value + '\n';
        }
        return all;
    }
};

/// The answers after `run` then result from that step alone.
template <typename S, typename Run>
std::string withFilesOnlyFor(std::initializer_list<const char*> variables, Run run) {
    S::forget();
    {
        std::list<HiddenVariable> hidden;
        for (const char* variable : variables) {
            hidden.emplace_back(variable);
        }
        S::reader();
    }
    run();
    return S::loaded();
}

struct Measured {
    const char* name;
    const char* query;
    queries::Arguments with{};
    std::set<std::string> tags{};
    /// Whether a call appends to its outputs, so that they must be cleared.
    bool accumulates = false;
    bool threads = false;
};

inline const std::vector<Measured>& measuredQueries() {
    static const std::vector<Measured> all{
        {.name = "getLocalIPByUsage",
         .query = "getLocalIPByUsage",
         .with = {.tag = "southbound3"},
         .threads = true},
        {.name = "getLocalMaintenanceIP", .query = "getLocalMaintenanceIP"},
        {.name = "getLocalServiceIP", .query = "getLocalServiceIP"},
        {.name = "getLocalService2IP", .query = "getLocalService2IP"},
        {.name = "getLocalNorthIP", .query = "getLocalNorthIP"},
        {.name = "getLocalNodeIPs-1",
         .query = "getLocalNodeIPs by number",
         .with = {.prefix = "northbound"},
         .accumulates = true},
        {.name = "getLocalSouthIP", .query = "getLocalSouthIP"},
        // With a map that already has the keys.
        {.name = "getLocalNodeIPs-2", .query = "getLocalNodeIPs by tag"},
        {.name = "getSourceNodeId", .query = "getSourceNodeId"},
        {.name = "getIPAddresses-quarter",
         .query = "getIPAddresses",
         .with = {.field = "assignedToTenancy", .valuePrefix = "tenancy-0"},
         .accumulates = true},
        {.name = "getIPAddresses-all",
         .query = "getIPAddresses",
         .with = {.field = "assignedToTenancy", .valuePrefix = "tenancy-"},
         .accumulates = true},
        {.name = "getAllFloatIP",
         .query = "getAllFloatIP",
         .tags = {"service", "northbound"},
         .accumulates = true},
        {.name = "loaded-text", .query = "getMaintenanceIPAddress"},
        {.name = "loaded-number", .query = "getLocalPort"},
        {.name = "database-text",
         .query = "getDBUserName",
         .with = {.database = "alarms", .index = 1}},
        {.name = "database-number",
         .query = "getDBAccessPort",
         .with = {.database = "alarms", .index = 1}},
    };
    return all;
}

template <typename Reader>
const queries::Query<Reader>& queryNamed(const char* name) {
    for (const queries::Query<Reader>& query : queries::all<Reader>()) {
        if (std::string_view(query.name) == name) {
            return query;
        }
    }
    throw std::invalid_argument(name);
}

template <typename Reader, typename S>
void addQueries(Suite& suite) {
    for (const Measured& measured : measuredQueries()) {
        const queries::Query<Reader>& query = queryNamed<Reader>(measured.query);
        const auto answer = [&measured, &query] {
            queries::Outputs out;
            out.tags = measured.tags;
            query.call(S::reader(), measured.with, out);
            return out.toText();
        };
        const auto time = [&measured, &query](benchmark::State& state) {
            Reader& reader = S::reader();
            queries::Outputs out;
            const auto run = [&] {
                if (measured.accumulates) {
                    out = queries::Outputs();
                    out.tags = measured.tags;
                }
                query.call(reader, measured.with, out);
                benchmark::DoNotOptimize(out);
            };
            if (state.max_iterations > 1) {
                run();
            }
            for (auto _ : state) {
                run();
            }
        };
        suite.add({measured.name, answer, time, measured.threads});
    }
}

template <typename S>
void addLoads(Suite& suite) {
    suite.add({"master-and-standby",
               [] {
                   return withFilesOnlyFor<S>({"TOLM_ROOT"}, [] {
                       S::roles().InitMasterAndStandyNodeId();
                       S::roles().InitMasterAndStandyIp();
                   });
               },
               [](benchmark::State& state) {
                   auto& roles = S::roles();
                   for (auto _ : state) {
                       roles.InitMasterAndStandyNodeId();
                   }
               }});
    suite.add({"first-use",
               [] {
                   S::forget();
                   return S::loaded();
               },
               [](benchmark::State& state) {
                   for (auto _ : state) {
                       state.PauseTiming();
                       S::forget();
                       state.ResumeTiming();
                       benchmark::DoNotOptimize(&S::reader());
                   }
               }});
    suite.add({"reload",
               [] {
                   return withFilesOnlyFor<S>({"APP_CONF_FILE", "APP_ROOT", "TOLM_ROOT"},
                                              [] { S::roles().Reload(); });
               },
               [](benchmark::State& state) {
                   auto& roles = S::roles();
                   for (auto _ : state) {
                       roles.Reload();
                   }
               }});
}

template <typename Reader, typename Roles>
void addOperations(Suite& suite) {
    using S = Singletons<Reader, Roles>;
    addQueries<Reader, S>(suite);
    addLoads<S>(suite);
}

} // namespace bench
