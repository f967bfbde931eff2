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

using host::FlowAggregate;

// Fills the failure of a row or of a group.
void fail(Failure& failure, const host::FlowError& error) noexcept {
  int sql_state = ERRCODE_INVALID_PARAMETER_VALUE;
  if (error.status == host::Status::kWrongType) sql_state = ERRCODE_DATATYPE_MISMATCH;
  const bool is_out_of_range =
      error.status == host::Status::kInvalidArgument || error.status == host::Status::kNotFinite;
  if (is_out_of_range) sql_state = ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE;
  finance_pg::fail(failure, sql_state, error.message,
                   "Each row is one cash flow: an amount, and its date or period. The rate is the "
                   "same in all rows "
                   "of a group.");
}

// The flows of a group so far, in the server's memory. The bytes in use are serialized without
// conversion, because all workers run on one machine.
struct Group {
  std::size_t count;
  std::size_t room;
  host::Flow* flows;
  bool is_bad;  // a row was invalid and the aggregate returns NULL instead of an error
};

MemoryContext group_storage(FunctionCallInfo fcinfo) {
  MemoryContext storage = nullptr;
  if (AggCheckCallContext(fcinfo, &storage) != 0) return storage;
  ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
                  errmsg("finance: this function can be called only by its aggregate")));
  pg_unreachable();
}

Group* group_of(FunctionCallInfo fcinfo, int argument) {
  return PG_ARGISNULL(argument) ? nullptr : reinterpret_cast<Group*>(PG_GETARG_POINTER(argument));
}

// The group with room for more flows; a new group if there is none.
Group* with_room(Group* group, MemoryContext storage, std::size_t more) {
  if (group == nullptr) {
    group = static_cast<Group*>(MemoryContextAllocZero(storage, sizeof(Group)));
  }
  if (group->flows != nullptr && group->count + more <= group->room) return group;
  const std::size_t room = std::max({2 * group->room, group->count + more, std::size_t{16}});
  const std::size_t bytes = room * sizeof(host::Flow);
  group->flows =
      static_cast<host::Flow*>(group->flows == nullptr ? MemoryContextAllocHuge(storage, bytes)
                                                       : repalloc_huge(group->flows, bytes));
  group->room = room;
  return group;
}

Datum add_flow(FunctionCallInfo fcinfo, const FlowAggregate& aggregate) {
  MemoryContext storage = group_storage(fcinfo);
  const int count = PG_NARGS() - 1;
  host::Value values[3];
  for (int i = 0; i < count; ++i) {
    if (PG_ARGISNULL(i + 1)) continue;
    const bool is_date = aggregate.is_dated && i + 1 == count;
    const SqlValue plain = plain_value(PG_GETARG_DATUM(i + 1), is_date ? DATEOID : FLOAT8OID);
    values[i] =
        value_of(plain, is_date ? catalog::ArgumentKind::kDate : catalog::ArgumentKind::kNumber);
  }
  Failure failure;
  host::Flow flow{};
  bool has_flow = false;
  const bool is_good = guarded(failure, [&] {
    host::FlowError error;
    const auto made = host::flow_of(aggregate, {values, static_cast<std::size_t>(count)}, error);
    has_flow = made.has_value();
    flow = made.value_or(flow);
    if (!error.ok()) fail(failure, error);
  });
  if (is_error(failure, aggregate.null_on_error)) report(failure);
  Group* const group = with_room(group_of(fcinfo, 0), storage, 1);
  if (has_flow) group->flows[group->count++] = flow;
  group->is_bad |= !is_good;
  PG_RETURN_POINTER(group);
}

Datum value_of_group(FunctionCallInfo fcinfo, const FlowAggregate& aggregate) {
  const Group* const group = group_of(fcinfo, 0);
  if (group == nullptr || group->is_bad) PG_RETURN_NULL();
  CHECK_FOR_INTERRUPTS();
  Failure failure;
  double value = 0.0;
  guarded(failure, [&] {
    host::FlowError error;
    value =
        host::value_of_flows(aggregate, host::loaded_module(), {group->flows, group->count}, error)
            .number;
    if (!error.ok()) fail(failure, error);
  });
  CHECK_FOR_INTERRUPTS();  // a large group can take seconds
  if (is_error(failure, aggregate.null_on_error)) report(failure);
  if (!failure.is_none() || std::isnan(value)) PG_RETURN_NULL();
  PG_RETURN_FLOAT8(value);
}

}  // namespace

// The functions of each aggregate; the number is its index in host::kFlowAggregates.
#define FLOW_AGGREGATE(name, number)                                                   \
  SQL_FUNCTION(name##_add) { return add_flow(fcinfo, host::kFlowAggregates[number]); } \
  SQL_FUNCTION(name##_value) { return value_of_group(fcinfo, host::kFlowAggregates[number]); }

#include "symbols.inc"

SQL_FUNCTION(finance_flows_combine) {
  MemoryContext storage = group_storage(fcinfo);
  const Group* const other = group_of(fcinfo, 1);
  if (other == nullptr) {
    if (PG_ARGISNULL(0)) PG_RETURN_NULL();
    PG_RETURN_POINTER(group_of(fcinfo, 0));
  }
  Group* const both = with_room(group_of(fcinfo, 0), storage, other->count);
  std::copy_n(other->flows, other->count, both->flows + both->count);
  both->count += other->count;
  both->is_bad |= other->is_bad;
  PG_RETURN_POINTER(both);
}

SQL_FUNCTION(finance_flows_serialize) {
  group_storage(fcinfo);
  const Group* const group = group_of(fcinfo, 0);
  const std::size_t size = VARHDRSZ + sizeof(Group) + group->count * sizeof(host::Flow);
  if (size > MaxAllocSize) {
    ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
                    errmsg("finance: a group has too many cash flows for parallel workers"),
                    errhint("Set max_parallel_workers_per_gather to 0.")));
  }
  auto* const bytes = static_cast<bytea*>(palloc(size));
  SET_VARSIZE(bytes, size);
  std::memcpy(VARDATA(bytes), group, sizeof(Group));
  std::memcpy(VARDATA(bytes) + sizeof(Group), group->flows, group->count * sizeof(host::Flow));
  PG_RETURN_BYTEA_P(bytes);
}

SQL_FUNCTION(finance_flows_deserialize) {
  group_storage(fcinfo);
  const bytea* const bytes = PG_GETARG_BYTEA_PP(0);
  auto* const group = static_cast<Group*>(palloc(sizeof(Group)));
  std::memcpy(group, VARDATA_ANY(bytes), sizeof(Group));
  const std::size_t size = group->count * sizeof(host::Flow);
  group->room = group->count;
  group->flows = static_cast<host::Flow*>(palloc_extended(size, MCXT_ALLOC_HUGE));
  std::memcpy(group->flows, VARDATA_ANY(bytes) + sizeof(Group), size);
  PG_RETURN_POINTER(group);
}
