/* The interface of libvxkernel. A program embeds this library to load an extension module and to
 * evaluate calls of the functions in the module. The header is C99 and also compiles as C++;
 * vxkernel.hpp is a C++17 wrapper. Other languages call the library through their C interface.
 *
 *   vxk_kernel *kernel;
 *   vxk_call *call;
 *   double cost_salvage_life[] = {10000, 1000, 5}, depreciation;
 *   vxk_open(NULL, NULL, &kernel, NULL);
 *   vxk_prepare(kernel, "FINANCE", "SLN", 3, &call, NULL);
 *   vxk_evaluate(call, cost_salvage_life, &depreciation, NULL);    // 1800
 *   vxk_release(call);
 *   vxk_close(kernel);
 *
 * Values. A number is a double. A date is a number: the count of days since 1 January 1960, which
 * is negative for earlier dates. A rate is a fraction: 0.05 means 5 %. NaN is the missing value.
 * Texts are UTF-8.
 *
 * Numbering. Arguments are numbered from 1; the keyword is not counted. Rows and groups are
 * numbered from 0.
 *
 * Structures. Most structures begin with their size in bytes, which the caller sets with sizeof.
 * Later versions of this interface add members at the end of a structure and accept the shorter
 * structures of older callers. The library writes no more of an output structure than its size
 * covers. All structures in an array must have the same size. Members named "reserved" must be 0.
 * vxk_error is embedded in vxk_report, so its size never changes.
 *
 * Errors. A function that can fail returns a vxk_status. No function throws an exception, prints or
 * ends the process. A vxk_error pointer may be NULL.
 *
 * Threads. Any number of threads may use one kernel at the same time. A vxk_call may be used by one
 * thread at a time: each thread prepares its own call or copies another one. Open and close kernels
 * while no other thread evaluates.
 */
#ifndef VXKERNEL_H
#define VXKERNEL_H

#include <stddef.h>
#include <stdint.h>

#define VXK_INTERFACE 1 /* the version of the interface that this header describes */

#if defined(__GNUC__)
#define VXK_API __attribute__((visibility("default")))
#else
#define VXK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vxk_kernel vxk_kernel; /* a loaded module */
typedef struct vxk_call vxk_call;     /* a prepared call: a function, a keyword and its arguments */

typedef enum vxk_status {
  VXK_OK = 0,
  VXK_FAILED = 120836,    /* an argument is invalid or missing, or there is no result */
  VXK_NO_FUNCTION = -1,   /* the module has no function of this name */
  VXK_NO_KEYWORD = -2,    /* the keyword is unknown */
  VXK_TEXT_TOO_LONG = -3, /* a text, or all texts of a call together, exceed VXK_MAX_TEXT bytes */
  VXK_OUT_OF_MEMORY = -4,
  VXK_CANNOT_LOAD = -5,   /* the file does not exist, is not a module, or is incompatible */
  VXK_BAD_PARAMETER = -6, /* a parameter of a function of this header is out of range */
  VXK_CANCELLED = -7,     /* the cancel flag was set */
  VXK_NOT_FINITE = -8     /* no argument is missing, but the result is infinite or NaN */
} vxk_status;

#define VXK_MAX_TEXT 4096

/* The description of an error. */
typedef struct vxk_error {
  uint32_t size;
  int32_t status;   /* a vxk_status */
  int64_t row;      /* the row or group that fails, from 0; 0 for a single call */
  int32_t argument; /* the argument that is invalid or missing, from 1; 0 if there is none */
  int32_t reserved;
  char message[256]; /* "PRICE: argument 3 is invalid: -0.05"; UTF-8, zero-terminated */
} vxk_error;

/* ---- Modules ----------------------------------------------------------------------------------
 */

/* Receives each line that the module reports, on the thread that reports it. A line has at most 511
 * bytes, is not zero-terminated and has no line end. */
typedef void (*vxk_journal)(void* context, const char* line, size_t length);

typedef struct vxk_open_options {
  uint32_t size;
  uint32_t reserved;
  vxk_journal journal; /* NULL: the lines are discarded */
  void* journal_context;
} vxk_open_options;

/* Returns the VXK_INTERFACE of the library. A program must not use a library whose value is lower
 * than that of the header it was compiled with. */
VXK_API int32_t vxk_interface(void);

/* Loads a module from the file module_path. If module_path is NULL, the function looks for the file
 * vxfnc.so. It starts at the folder of the library or program that contains this function and tries
 * that folder, its subfolder vxfnc, ../lib, ../lib/vxfnc and ../LIBDIR/vxfnc, where LIBDIR is the
 * library folder that was set when the library was built. Environment variables have no effect. The
 * kernel is valid until vxk_close. */
VXK_API int vxk_open(const char* module_path, const vxk_open_options* options, vxk_kernel** kernel,
                     vxk_error* error);

/* Closes a kernel. All its calls must have been released before. NULL is allowed. */
VXK_API void vxk_close(vxk_kernel* kernel);

/* Stores the version of the module's instance: major, minor, release. */
VXK_API void vxk_module_version(const vxk_kernel* kernel, int32_t version[3]);

/* Returns the name, version and build time of the module as one text, or "" if the module has none.
 * The text is valid until vxk_close. */
VXK_API const char* vxk_module_build(const vxk_kernel* kernel);

/* Return how many functions the module has, and the name of each. index is from 0 to the count
 * minus 1; the name is NULL for any other index. The names are valid until vxk_close. */
VXK_API int32_t vxk_function_count(const vxk_kernel* kernel);
VXK_API const char* vxk_function_name(const vxk_kernel* kernel, int32_t index);

/* Sets the option VX_NAME_YEARCUTOFF: the first year of the hundred years to which two-digit years
 * belong. The default is 1950. The option applies to all modules of the process. */
VXK_API void vxk_set_year_cutoff(int32_t first_year);

/* ---- One row ----------------------------------------------------------------------------------
 */

/* An argument. It is a text if text is not NULL, otherwise a number. Texts are not copied. */
typedef struct vxk_value {
  double number;
  const char* text;
  size_t length; /* of the text, in bytes */
} vxk_value;

/* Evaluates one call without preparing it. This is slower than vxk_run, but there is nothing to
 * release. function and keyword are as in vxk_prepare; count is the number of arguments. Calls with
 * up to 16 arguments allocate no memory. *result becomes NaN unless VXK_OK is returned. *argument
 * is set as in vxk_error; the pointer may be NULL. */
VXK_API int vxk_evaluate_values(const vxk_kernel* kernel, const char* function, const char* keyword,
                                size_t keyword_length, const vxk_value* arguments, int32_t count,
                                double* result, int32_t* argument);

/* Prepares a call of a keyword with count arguments, 0 to 2^28. If function is NULL, the module's
 * first function is called. The keyword is not case-sensitive. At first, all arguments are missing
 * numbers.
 *
 * A function whose name ends in # reads texts as bytes; any other function reads them as wide
 * characters. For ASCII texts the results are the same.
 *
 * vxk_prepare does not check whether the keyword accepts this number of arguments. If it does not,
 * each evaluation fails. */
VXK_API int vxk_prepare(const vxk_kernel* kernel, const char* function, const char* keyword,
                        int32_t count, vxk_call** call, vxk_error* error);

/* Creates an independent call with the same function, keyword and arguments, for example for
 * another thread. */
VXK_API int vxk_copy(const vxk_call* call, vxk_call** copy);

/* Releases a call. NULL is allowed. */
VXK_API void vxk_release(vxk_call* call);

/* Returns the array of the numeric arguments, in which argument 1 has the index 0. The caller may
 * write to the array. Numbers keep their values from one run to the next. An argument that is a
 * text remains a text until vxk_set_number is called for it. The pointer is valid until
 * vxk_release. */
VXK_API double* vxk_arguments(vxk_call* call);

/* Set an argument to a text, which is copied, or to a number. They return VXK_BAD_PARAMETER if the
 * call does not have the argument. vxk_set_text returns VXK_TEXT_TOO_LONG if the text has more than
 * VXK_MAX_TEXT bytes. */
VXK_API int vxk_set_text(vxk_call* call, int32_t argument, const char* text, size_t length);
VXK_API int vxk_set_number(vxk_call* call, int32_t argument, double number);

/* Evaluates the call with its current arguments. The library allocates no memory and adds a few
 * nanoseconds to the module's own time. If VXK_OK is returned, *result is the module's result,
 * which may be infinite or NaN; otherwise it is NaN. *argument is set as in vxk_error and is 0 for
 * VXK_OK; the pointer may be NULL. */
VXK_API int vxk_run(vxk_call* call, double* result, int32_t* argument);

/* Stores the numbers at arguments, one per argument of the call, and then evaluates the call as
 * vxk_run does. Arguments that are texts remain texts; their numbers have no effect. */
VXK_API int vxk_evaluate(vxk_call* call, const double* arguments, double* result,
                         int32_t* argument);

/* ---- Columns ----------------------------------------------------------------------------------
 */

typedef enum vxk_type {
  VXK_FLOAT64 = 1,
  VXK_FLOAT32 = 2,
  VXK_INT64 = 3, /* values beyond 2^53 are rounded to the nearest double */
  VXK_INT32 = 4,
  VXK_DATE32 = 5 /* days since 1 January 1970 in 32 bits, the date32 type of Arrow */
} vxk_type;

/* A column of values, in the layout of Arrow. The value of row i is (offset + i) * stride bytes
 * after values. Bit number offset + i of validity is 1 if the value is present and 0 if it is
 * missing; bits are numbered from the lowest bit of each byte. If stride is 0, all rows have the
 * value at values and the validity bit number offset. */
typedef struct vxk_column {
  uint32_t size;
  int32_t type;            /* a vxk_type */
  const void* values;      /* NULL: all rows have the argument that is set in the call */
  const uint8_t* validity; /* NULL: all values are present */
  int64_t offset;          /* 0 or more */
  int64_t stride;          /* in bytes; negative strides are allowed */
  int32_t is_list; /* only for vxk_evaluate_lists. 1: one value per flow; 0: one per group */
  int32_t reserved;
} vxk_column;

/* The arrays that receive the results. Bits are numbered as in a column, without an offset. The
 * unused bits of the last byte become 0. */
typedef struct vxk_results {
  uint32_t size;
  uint32_t reserved;
  double* values;    /* one per row; NaN if the result is missing or the row fails */
  uint8_t* validity; /* NULL, or one bit per row: 1 if the row has a result */
  uint8_t* failures; /* NULL, or one bit per row: 1 if the row fails */
} vxk_results;

typedef struct vxk_options {
  uint32_t size;
  int32_t threads;         /* the maximum number of threads, including the caller's; 0 means 1 */
  int32_t stop_at_failure; /* 1: stop at the first row that fails and return VXK_FAILED */
  int32_t date_list; /* only for vxk_evaluate_lists: the number of the column of dates by which
                        flows are sorted, from 1; 0: flows are not sorted */
  int32_t min_flows; /* only for vxk_evaluate_lists: a group with fewer flows than this has a
                        missing result. Flows are counted before the flows of one date are
                        added up. 0 means 1. */
  int32_t reserved;
  const volatile int32_t* cancel; /* NULL, or a flag that is read before each row or group.
                                     Evaluation stops when it is not 0. Write it atomically.
                                     vxk_evaluate_lists also reads it every 10 ms while it evaluates
                                     a group of 20,000 flows or more. It evaluates such a group on a
                                     thread that it creates, which receives no signals. */
} vxk_options;

/* A summary of an evaluation of columns or lists. */
typedef struct vxk_report {
  uint32_t size;
  uint32_t reserved;
  int64_t failed;  /* the number of rows that fail */
  int64_t missing; /* the number of rows whose result is missing because a value is missing */
  vxk_error first; /* the error of the first row that fails; status is VXK_OK if no row fails */
} vxk_report;

/* Evaluates the call for each row of a table. columns has one column per argument, in the order of
 * the arguments. options and report may be NULL.
 *
 * If any value of a row is missing, the result of the row is missing. A row whose result is
 * infinite or NaN fails with VXK_NOT_FINITE. When a row fails, evaluation continues with the other
 * rows unless stop_at_failure is set. The results do not depend on the number of threads. The
 * report is always filled.
 *
 * Returns VXK_OK if all rows were evaluated, even if every row fails. Returns VXK_FAILED if
 * stop_at_failure is set and a row fails: the results of that row and of later rows are then
 * undefined, and the report counts only the rows that were evaluated. Returns VXK_CANCELLED,
 * VXK_OUT_OF_MEMORY or VXK_BAD_PARAMETER if evaluation stopped for that reason: all results are
 * then undefined.
 *
 * Arguments whose column has no values array keep their values in the call. All other arguments of
 * the call are undefined afterwards. */
VXK_API int vxk_evaluate_columns(vxk_call* call, const vxk_column* columns, int64_t rows,
                                 const vxk_results* results, const vxk_options* options,
                                 vxk_report* report);

/* Evaluates a keyword once per group of flows, for example of cash flows. The flows of all groups
 * are in one sequence. The flows of group g begin at offsets[g] and end before offsets[g + 1].
 * There are groups + 1 offsets, and no offset is smaller than the one before it.
 *
 * The columns are the arguments of the keyword in order. A column with is_list 1 has one row per
 * flow; it supplies one argument for each flow of the group. A column with is_list 0 has one row
 * per group and supplies one argument. For example, IRR needs one list, of amounts. XNPV needs a
 * rate per group, a list of amounts and a list of dates.
 *
 * A flow is skipped if its value in the first list (its amount) is missing. If that value is
 * present but a value of the flow in another list is missing, the group fails. If a value per group
 * is missing, the result of the group is missing.
 *
 * If date_list is set, the flows of a group are sorted by the dates in that column, and the amounts
 * of each date are added up. The rounding errors of these additions are added up as well, and the
 * sum is corrected by them. In practice the result therefore does not depend on the order of the
 * flows. Its last digit may differ from that of a call that passes each flow separately.
 *
 * In all other respects the function works as vxk_evaluate_columns does, with groups in place of
 * rows. The argument in an error is the number of a column. */
VXK_API int vxk_evaluate_lists(const vxk_kernel* kernel, const char* function, const char* keyword,
                               const vxk_column* columns, int32_t column_count,
                               const int64_t* offsets, int64_t groups, const vxk_results* results,
                               const vxk_options* options, vxk_report* report);

/* ---- Keywords as data -------------------------------------------------------------------------
 */

typedef enum vxk_argument_kind {
  VXK_NUMBER = 0,
  VXK_WHOLE = 1, /* a whole number */
  VXK_DATE = 2,
  VXK_DATE_TIME = 3, /* a date, or a count of days with a fraction */
  VXK_BASIS = 4,     /* a day-count basis; see vxk_basis */
  VXK_FREQUENCY = 5  /* coupons per year: 1, 2, 4, 6 or 12. The module accepts other values, but
                        its results for them have no meaning. */
} vxk_argument_kind;

typedef enum vxk_presence {
  VXK_REQUIRED = 0,
  VXK_OPTIONAL = 1,
  VXK_LIST = 2,        /* one or more values; all lists of a keyword have the same length */
  VXK_LIST_OR_NONE = 3 /* like VXK_LIST, but the list may be empty */
} vxk_presence;

typedef enum vxk_result_kind {
  VXK_AMOUNT = 0, /* money, in the currency of the arguments or per 100 of face value */
  VXK_RATE = 1,   /* a fraction */
  VXK_DAYS = 2,
  VXK_COUNT = 3, /* a number of coupons or periods */
  VXK_YEARS = 4,
  VXK_DATE_RESULT = 5
} vxk_result_kind;

/* The description of a keyword. Texts are UTF-8 and zero-terminated. They are never freed. */
typedef struct vxk_keyword_info {
  uint32_t size;
  int32_t result_kind;   /* a vxk_result_kind */
  int32_t arguments;     /* the number of arguments that vxk_argument describes */
  int32_t min_arguments; /* the fewest arguments of a call */
  int32_t max_arguments; /* the most arguments of a call; -1: no limit */
  int32_t reserved;
  const char* name;    /* "PRICE" */
  const char* task;    /* the group of keywords that this one belongs to: "Bonds" */
  const char* title;   /* a phrase: "price of a bond with coupons" */
  const char* summary; /* a paragraph */
  const char* result;  /* a phrase, with the unit */
  const char* formula; /* one or more lines */
  const char* example; /* arguments separated by blanks, dates as YYYY-MM-DD */
  const char* example_result;
  const char* fails;   /* a phrase that says when the calculation has no result, or "" */
  const char* related; /* keywords separated by blanks */
} vxk_keyword_info;

/* The description of an argument. A list counts as one argument. */
typedef struct vxk_argument_info {
  uint32_t size;
  int32_t kind;     /* a vxk_argument_kind */
  int32_t presence; /* a vxk_presence */
  int32_t reserved;
  const char* name;         /* "settlement" */
  const char* meaning;      /* a phrase, with the unit */
  const char* range;        /* the allowed values: "greater than 0", or "any" */
  const char* default_text; /* what an omitted argument means; "" if it is not optional */
  double default_value;     /* the value that has the same effect; NaN if there is none */
} vxk_argument_info;

/* Describe the keywords of FINANCE, which are in alphabetical order and numbered from 0, and their
 * arguments, which are numbered from 1. The size of the structure must be set. vxk_keyword and
 * vxk_argument return 1, or 0 if the keyword or the argument does not exist. */
VXK_API int32_t vxk_keyword_count(void);
VXK_API int vxk_keyword(int32_t index, vxk_keyword_info* info);
VXK_API int vxk_argument(int32_t index, int32_t argument, vxk_argument_info* info);

/* Returns the index of a keyword, or -1 if there is none. The name is not case-sensitive. */
VXK_API int32_t vxk_find_keyword(const char* name, size_t length);

/* Returns the code of a day-count basis by its text, for example "ACTUAL" or "act/360", or -1 if
 * the basis is unknown. As in the module, case and blanks do not matter. */
VXK_API int32_t vxk_basis(const char* text, size_t length);

#ifdef __cplusplus
}
#endif

#endif
