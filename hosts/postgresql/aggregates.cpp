// The aggregates of the PostgreSQL extension.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "hosts/call/module_loader.h"
#include "hosts/postgresql/pg_values.h"
#include "hosts/sql/flow_aggregates.h"

extern "C" {
#include <catalog/pg_type.h>
#include <utils/memutils.h>
}

using namespace finance_pg;

namespace {

using host::Flow;
using host::FlowAggregate;
using host::FlowGroup;
using host::FlowSum;

// An aggregate as an SQL function.
struct FlowFunction {
  const char* name;
  const FlowAggregate& aggregate;
  bool null_on_error;
};

// Fills the failure of a row or of a group.
void fail(Failure& failure, const FlowFunction& function, const host::FlowError& error) {
  finance_pg::fail(failure,
                   error.is_missing ? ERRCODE_NULL_VALUE_NOT_ALLOWED : sql_state_of(error.status),
                   std::string(function.name) + ": " + error.message,
                   "Each row is one cash flow: an amount, and its date or period. Rates are the "
                   "same in all rows of a group.");
}

MemoryContext group_storage(FunctionCallInfo fcinfo) {
  MemoryContext storage = nullptr;
  if (AggCheckCallContext(fcinfo, &storage) != 0) return storage;
  ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
                  errmsg("finance: this function can be called only by its aggregate")));
  pg_unreachable();
}

FlowGroup* group_of(FunctionCallInfo fcinfo, int argument) {
  return PG_ARGISNULL(argument) ? nullptr
                                : reinterpret_cast<FlowGroup*>(PG_GETARG_POINTER(argument));
}

// The group with room for more sums; a new group if there is none. The groups are in the memory of
// the server.
FlowGroup* with_room(FlowGroup* group, MemoryContext storage, std::uint64_t more) {
  if (group == nullptr) {
    group = static_cast<FlowGroup*>(MemoryContextAllocZero(storage, sizeof(FlowGroup)));
  }
  if (host::has_room(*group, more)) return group;
  FlowSum* const old = group->sums;
  const std::uint64_t room = host::room_for(*group, more);
  host::move_to(
      *group, static_cast<FlowSum*>(MemoryContextAllocHuge(storage, room * sizeof(FlowSum))), room);
  if (old != nullptr) pfree(old);
  return group;
}

// The type of an argument, which the function keeps from row to row. The dates of an aggregate that
// release 0.1 defined have the type date.
Oid date_type(FunctionCallInfo fcinfo, int argument) {
  FmgrInfo& function = *fcinfo->flinfo;
  if (function.fn_extra == nullptr) {
    auto* const type = static_cast<Oid*>(MemoryContextAlloc(function.fn_mcxt, sizeof(Oid)));
    *type = get_fn_expr_argtype(&function, argument);
    if (!OidIsValid(*type)) *type = TIMESTAMPOID;
    function.fn_extra = type;
  }
  return *static_cast<Oid*>(function.fn_extra);
}

enum class Row : int { kFlow, kNoFlow, kInvalid };

// The flow of a row. An invalid row fills the failure.
Row read_row(FunctionCallInfo fcinfo, const FlowFunction& function, Flow& flow, Failure& failure) {
  const auto parameters = function.aggregate.parameters();
  host::Value values[4];
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const int argument = static_cast<int>(i) + 1;
    if (PG_ARGISNULL(argument)) continue;
    const bool is_date = parameters[i].role == host::FlowParameter::Role::kDate;
    const Oid type = is_date ? date_type(fcinfo, argument) : FLOAT8OID;
    values[i] = value_of(plain_value(PG_GETARG_DATUM(argument), type),
                         is_date ? catalog::ArgumentKind::kDate : catalog::ArgumentKind::kNumber);
  }
  bool has_flow = false;
  const bool is_valid = guarded(failure, [&] {
    host::FlowError error;
    has_flow = host::read_flow(function.aggregate, {values, parameters.size()}, flow, error);
    if (!error.ok()) fail(failure, function, error);
  });
  if (!is_valid) return Row::kInvalid;
  return has_flow ? Row::kFlow : Row::kNoFlow;
}

Datum add_row(FunctionCallInfo fcinfo, const FlowFunction& function) {
  MemoryContext storage = group_storage(fcinfo);
  Failure failure;
  Flow flow;
  const Row row = read_row(fcinfo, function, flow, failure);
  if (is_error(failure, function.null_on_error)) report(failure);
  FlowGroup* const group = with_room(group_of(fcinfo, 0), storage, 1);
  if (row == Row::kFlow) host::add(*group, flow);
  if (row == Row::kInvalid) ++group->invalid;
  PG_RETURN_POINTER(group);
}

// Removes the row that leaves the frame of a window. If the result is NULL, the server collects the
// frame again.
Datum remove_row(FunctionCallInfo fcinfo, const FlowFunction& function) {
  group_storage(fcinfo);
  Failure failure;
  Flow flow;
  const Row row = read_row(fcinfo, function, flow, failure);
  if (is_error(failure, true)) report(failure);
  FlowGroup* const group = group_of(fcinfo, 0);
  if (row == Row::kFlow && !host::remove(*group, flow)) PG_RETURN_NULL();
  if (row == Row::kInvalid) --group->invalid;
  PG_RETURN_POINTER(group);
}

Datum value_of_group(FunctionCallInfo fcinfo, const FlowFunction& function) {
  const FlowGroup* const group = group_of(fcinfo, 0);
  if (group == nullptr || group->invalid > 0) PG_RETURN_NULL();
  Failure failure;
  double value = 0.0;
  run_with_interrupts([&](const volatile std::int32_t* stop) {
    bool is_stopped = false;
    guarded(failure, [&] {
      host::FlowError error;
      value = host::value_of_flows(function.aggregate, host::loaded_module(), *group, stop, error)
                  .number;
      is_stopped = error.status == host::Status::kCancelled;
      if (!error.ok() && !is_stopped) fail(failure, function, error);
    });
    return !is_stopped;
  });
  if (is_error(failure, function.null_on_error)) report(failure);
  if (!failure.is_none() || std::isnan(value)) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(value);
}

// What parallel workers send to each other: this header and the sums with flows. The format has a
// number, so that a release never reads the bytes of another one.
struct GroupHeader {
  std::uint64_t format;
  std::uint64_t live;
  std::uint64_t invalid;
};
constexpr std::uint64_t kFormat = 2;

}  // namespace

// The functions of each aggregate; the number is its index in host::kFlowAggregates.
#define FLOW_AGGREGATE(name, number, null_on_error)                                            \
  namespace {                                                                                  \
  constexpr FlowFunction name##_function{#name, host::kFlowAggregates[number], null_on_error}; \
  }                                                                                            \
  SQL_FUNCTION(name##_add) { return add_row(fcinfo, name##_function); }                        \
  SQL_FUNCTION(name##_remove) { return remove_row(fcinfo, name##_function); }                  \
  SQL_FUNCTION(name##_value) { return value_of_group(fcinfo, name##_function); }

#include "symbols.inc"

SQL_FUNCTION(finance_flows_combine) {
  MemoryContext storage = group_storage(fcinfo);
  const FlowGroup* const other = group_of(fcinfo, 1);
  if (other == nullptr) {
    if (PG_ARGISNULL(0)) PG_RETURN_NULL();
    PG_RETURN_POINTER(group_of(fcinfo, 0));
  }
  FlowGroup* const both = with_room(group_of(fcinfo, 0), storage, other->live);
  host::add_all(*both, *other);
  PG_RETURN_POINTER(both);
}

SQL_FUNCTION(finance_flows_serialize) {
  group_storage(fcinfo);
  const FlowGroup& group = *group_of(fcinfo, 0);
  const std::size_t size = VARHDRSZ + sizeof(GroupHeader) + group.live * sizeof(FlowSum);
  if (size > MaxAllocSize) {
    ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
                    errmsg("finance: a group has too many dates or periods for parallel workers"),
                    errhint("Set max_parallel_workers_per_gather to 0.")));
  }
  auto* const bytes = static_cast<bytea*>(palloc(size));
  SET_VARSIZE(bytes, size);
  const GroupHeader header{kFormat, group.live, group.invalid};
  char* to = VARDATA(bytes);
  std::memcpy(to, &header, sizeof header);
  to += sizeof header;
  host::for_each_sum(group, [&to](const FlowSum& sum) {
    std::memcpy(to, &sum, sizeof sum);
    to += sizeof sum;
  });
  PG_RETURN_BYTEA_P(bytes);
}

SQL_FUNCTION(finance_flows_deserialize) {
  group_storage(fcinfo);
  const bytea* const bytes = PG_GETARG_BYTEA_PP(0);
  const std::size_t size = VARSIZE_ANY_EXHDR(bytes);
  GroupHeader header{};
  std::memcpy(&header, VARDATA_ANY(bytes), std::min(size, sizeof header));
  if (header.format != kFormat || size != sizeof header + header.live * sizeof(FlowSum)) {
    ereport(ERROR, (errcode(ERRCODE_INVALID_BINARY_REPRESENTATION),
                    errmsg("finance: another release wrote the state of this aggregate")));
  }
  FlowGroup* const group = with_room(nullptr, CurrentMemoryContext, header.live);
  FlowSum sum;
  for (std::uint64_t i = 0; i < header.live; ++i) {
    std::memcpy(&sum, VARDATA_ANY(bytes) + sizeof header + i * sizeof sum, sizeof sum);
    host::add_sum(*group, sum);
  }
  group->invalid = header.invalid;
  PG_RETURN_POINTER(group);
}
