#pragma once

#include "Environment.h"
#include "Suite.h"
#include "Text.h"

#include <initializer_list>
#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>

/// The measured operations. `Reader` and `Roles` are the classes of the product or of the baseline,
/// whose operations have the same names.
namespace bench {

template <typename Reader, typename Roles>
struct Singletons {
    static Reader& reader() { return *Reader::Instance(); }
    static Roles& roles() { return *Roles::Instance(); }
    static void forget() { Reader::Destory(); }

    /// The loaded values as text.
    static std::string loaded() {
        Reader& r = reader();
        Roles& o = roles();
        return text(r.getFloatNodeId()) + text(r.getMaintenanceIPAddress()) +
               text(r.getLocalHostTagName()) + text(r.getLocalPort()) +
               text(r.getDBAccessPort("inventory", 0)) + text(r.getDBUserName("alarms", 1)) +
               text(o.GetLocalInternalServiceIP()) + text(o.GetMasterInternalServiceIP()) +
               text(o.GetStandbyInternalServiceIP()) + text(o.GetProductName());
    }
};

/// Loads new singletons without the files of these variables, so that the answers after `run`
/// result from that step alone.
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

/// A query `op(reader)`. Each run copies `op`; values that it captures are reused within the run.
template <typename S, typename Op>
Operation query(std::string name, Op op, bool threads = false) {
    return {std::move(name), [op]() mutable { return text(op(S::reader())); },
            [op](benchmark::State& state) {
                Op own = op;
                auto& reader = S::reader();
                if (state.max_iterations > 1) {
                    benchmark::DoNotOptimize(own(reader));
                }
                for (auto _ : state) {
                    benchmark::DoNotOptimize(own(reader));
                }
            },
            threads};
}

template <typename S>
void addLocalQueries(Suite& suite) {
    suite.add(query<S>(
        "getLocalIPByUsage",
        [usage = std::string("southbound3")](auto& r) { return r.getLocalIPByUsage(usage); },
        true));
    suite.add(query<S>("getLocalMaintenanceIP", [](auto& r) { return r.getLocalMaintenanceIP(); }));
    suite.add(query<S>("getLocalServiceIP", [](auto& r) { return r.getLocalServiceIP(); }));
    suite.add(query<S>("getLocalService2IP", [](auto& r) { return r.getLocalService2IP(); }));
    suite.add(query<S>("getLocalNorthIP", [](auto& r) { return r.getLocalNorthIP(); }));
    suite.add(query<S>("getLocalNodeIPs-1", [prefix = std::string("northbound")](auto& r) {
        std::map<int, std::string> indexed;
        std::pair<std::string, std::string> service;
        r.getLocalNodeIPs(prefix, indexed, service.first, service.second);
        return std::make_pair(std::move(indexed), std::move(service));
    }));
    suite.add(query<S>("getLocalSouthIP", [](auto& r) { return r.getLocalSouthIP(); }));
    suite.add(query<S>(
        "getLocalNodeIPs-2",
        [usageIPs = std::map<std::string, std::string>()](auto& r) mutable -> auto& {
            r.getLocalNodeIPs(usageIPs);
            return usageIPs;
        }));
    suite.add(query<S>("getSourceNodeId", [](auto& r) {
        std::string id;
        r.getSourceNodeId(id);
        return id;
    }));
}

template <typename S>
void addManagerQueries(Suite& suite) {
    const auto addressesOf = [](const char* valuePrefix) {
        return
            [field = std::string("assignedToTenancy"), prefix = std::string(valuePrefix)](auto& r) {
                std::list<std::string> addresses;
                const int status = r.getIPAddresses(field, prefix, addresses);
                return std::make_pair(status, std::move(addresses));
            };
    };
    suite.add(query<S>("getIPAddresses-quarter", addressesOf("tenancy-0")));
    suite.add(query<S>("getIPAddresses-all", addressesOf("tenancy-")));
    suite.add(query<S>("getAllFloatIP",
                       [usages = std::set<std::string>{"service", "northbound"}](auto& r) {
                           std::map<std::string, std::set<std::string>> floatIPs;
                           const int status = r.getAllFloatIP(usages, floatIPs);
                           return std::make_pair(status, std::move(floatIPs));
                       }));
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
}

template <typename S>
void addLoads(Suite& suite) {
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

template <typename S>
void addLoadedValues(Suite& suite) {
    suite.add(query<S>("loaded-text", [](auto& r) { return r.getMaintenanceIPAddress(); }));
    suite.add(query<S>("loaded-number", [](auto& r) { return r.getLocalPort(); }));
    suite.add(query<S>("database-text", [name = std::string("alarms")](auto& r) {
        return r.getDBUserName(name, 1);
    }));
    suite.add(query<S>("database-number", [name = std::string("alarms")](auto& r) {
        return r.getDBAccessPort(name, 1);
    }));
}

template <typename Reader, typename Roles>
void addOperations(Suite& suite) {
    using S = Singletons<Reader, Roles>;
    addLocalQueries<S>(suite);
    addManagerQueries<S>(suite);
    addLoads<S>(suite);
    addLoadedValues<S>(suite);
}

} // namespace bench
