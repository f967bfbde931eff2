/* A kernel that any program can embed: it loads an extension module and evaluates calls of the
 * module's functions. C99; also for C++ (see vxkernel.hpp) and for every language that calls C.
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
 * Values. A number is a double. A date is a number: whole days from 1 January 1960, negative
 * before. A rate is a fraction: 0.05 is 5 %. NaN is the missing value. Texts are UTF-8.
 *
 * Arguments are numbered from 1, without the keyword. Rows and groups are numbered from 0.
 *
 * Structures begin with their size in bytes, which the caller sets (sizeof): a later interface adds
 * members at the end, and takes the shorter structures of older callers. An output structure is
 * filled as far as its size says. The structures of an array have one size. Members named
 * "reserved" must be 0. vxk_error, which is part of a report, keeps its size.
 *
 * Errors. A function that can fail returns a vxk_status. It never throws, prints or ends the
 * process. A vxk_error pointer may be NULL.
 *
 * Threads. Any number of threads may use one kernel at once. A call serves one thread at a time;
 * each thread prepares its own, or copies one. Open and close kernels while no other thread
 * evaluates.
 */
#ifndef VXKERNEL_H
#define VXKERNEL_H

#include <stddef.h>
#include <stdint.h>

#define VXK_INTERFACE 1 /* the number of the interface that this header describes */

#if defined(__GNUC__)
#define VXK_API __attribute__((visibility("default")))
#else
#define VXK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct vxk_kernel vxk_kernel; /* a loaded module */
typedef struct vxk_call vxk_call;     /* a function, a keyword and a number of arguments, bound */

typedef enum vxk_status {
  VXK_OK = 0,
  VXK_FAILED = 120836,    /* an argument is invalid or missing, or the calculation has no result */
  VXK_NO_FUNCTION = -1,   /* the module has no function of this name */
  VXK_NO_KEYWORD = -2,    /* the function has no such keyword */
  VXK_TEXT_TOO_LONG = -3, /* the texts of a call are longer than VXK_MAX_TEXT bytes together */
  VXK_OUT_OF_MEMORY = -4,
  VXK_CANNOT_LOAD = -5,   /* the module is not there, is no module, or needs another kernel */
  VXK_BAD_PARAMETER = -6, /* a parameter of this interface is out of its range */
  VXK_CANCELLED = -7,     /* the cancel flag was set */
  VXK_NOT_FINITE = -8     /* the arguments are present, but the result is infinite or no number */
} vxk_status;

#define VXK_MAX_TEXT 4096

/* What went wrong. */
typedef struct vxk_error {
  uint32_t size;
  int32_t status;   /* a vxk_status */
  int64_t row;      /* of columns and lists: the row or group, from 0 */
  int32_t argument; /* the argument that is invalid or missing, from 1; 0: the error names none */
  int32_t reserved;
  char message[256]; /* "PRICE: argument 3 is invalid: -0.05"; UTF-8, zero-terminated */
} vxk_error;

/* ---- Modules ----------------------------------------------------------------------------------
 */

/* Takes each line that the module reports, on the thread that reports it: at most 511 bytes, not
 * zero-terminated, without a line end. */
typedef void (*vxk_journal)(void* context, const char* line, size_t length);

typedef struct vxk_open_options {
  uint32_t size;
  uint32_t reserved;
  vxk_journal journal; /* NULL: reports are dropped */
  void* journal_context;
} vxk_open_options;

/* Returns VXK_INTERFACE of the library, which is not below that of the header a caller was built
 * with, or the caller must not use it. */
VXK_API int32_t vxk_interface(void);

/* Loads a module. The path is that of the file; NULL looks for vxfnc.so by the place of the library
 * or program that this function is linked into: beside it, in the folder vxfnc beside it, and in
 * ../lib and ../lib/vxfnc (or the folder of libraries that it was built for). The environment has
 * no influence. The kernel stays valid until vxk_close. */
VXK_API int vxk_open(const char* module_path, const vxk_open_options* options, vxk_kernel** kernel,
                     vxk_error* error);

/* Closes a kernel whose calls are released. NULL is allowed. */
VXK_API void vxk_close(vxk_kernel* kernel);

/* The version that the module's instance offers: major, minor, release. */
VXK_API void vxk_module_version(const vxk_kernel* kernel, int32_t version[3]);

/* The module's name, version and time of build; "" if it does not say. Valid until vxk_close. */
VXK_API const char* vxk_module_build(const vxk_kernel* kernel);

/* The names of the functions that the module contributes, from 0 to the count less one. Valid until
 * vxk_close; NULL beyond. */
VXK_API int32_t vxk_function_count(const vxk_kernel* kernel);
VXK_API const char* vxk_function_name(const vxk_kernel* kernel, int32_t index);

/* Sets the option VX_NAME_YEARCUTOFF: the first of the hundred years that two-digit years mean,
 * 1950 unless set. It holds for all modules of the process. */
VXK_API void vxk_set_year_cutoff(int32_t first_year);

/* ---- One row ----------------------------------------------------------------------------------
 */

/* An argument: a text where text is not NULL, otherwise a number. Texts are not copied. */
typedef struct vxk_value {
  double number;
  const char* text;
  size_t length; /* of the text, in bytes */
} vxk_value;

/* Evaluates one call that is not prepared: slower, but nothing to release. Function and keyword as
 * vxk_prepare; count is the number of arguments. The result is NaN unless VXK_OK is returned.
 * Allocates nothing for up to 16 arguments. *argument (may be NULL) is as in vxk_error. */
VXK_API int vxk_evaluate_values(const vxk_kernel* kernel, const char* function, const char* keyword,
                                size_t keyword_length, const vxk_value* arguments, int32_t count,
                                double* result, int32_t* argument);

/* Binds a keyword of a function with a number of arguments, 0 to 2^28. NULL as function is the
 * module's first one. A function whose name ends in # takes its texts as bytes, any other as wide
 * characters; for texts in ASCII the results are the same. The case of the keyword does not matter.
 * All arguments are missing numbers at first. A number of arguments that the keyword does not take
 * fails in each evaluation. */
VXK_API int vxk_prepare(const vxk_kernel* kernel, const char* function, const char* keyword,
                        int32_t count, vxk_call** call, vxk_error* error);

/* A call of its own with the same function, keyword and arguments: for another thread. */
VXK_API int vxk_copy(const vxk_call* call, vxk_call** copy);

/* NULL is allowed. */
VXK_API void vxk_release(vxk_call* call);

/* The numbers of the call's arguments, which the caller may write: argument 1 is at index 0. They
 * keep their values from one run to the next. An argument that is a text stays one until
 * vxk_set_number. The pointer is valid until vxk_release. */
VXK_API double* vxk_arguments(vxk_call* call);

/* Makes an argument a text, which is copied, or a number again. An argument beyond the last fails
 * with VXK_BAD_PARAMETER, a text of more than VXK_MAX_TEXT bytes with VXK_TEXT_TOO_LONG. */
VXK_API int vxk_set_text(vxk_call* call, int32_t argument, const char* text, size_t length);
VXK_API int vxk_set_number(vxk_call* call, int32_t argument, double number);

/* Evaluates the call with the arguments that it holds. Allocates nothing and, of the kernel's
 * share, takes a few nanoseconds. The result is NaN unless VXK_OK is returned, and is then the
 * module's own: it may be infinite or NaN. *argument (may be NULL) is as in vxk_error; 0 with
 * VXK_OK. */
VXK_API int vxk_run(vxk_call* call, double* result, int32_t* argument);

/* The same with these numbers, as many as the call has arguments. Texts of the call stay. */
VXK_API int vxk_evaluate(vxk_call* call, const double* arguments, double* result,
                         int32_t* argument);

/* ---- Columns ----------------------------------------------------------------------------------
 */

typedef enum vxk_type {
  VXK_FLOAT64 = 1,
  VXK_FLOAT32 = 2,
  VXK_INT64 = 3, /* beyond 2^53 the nearest double is taken */
  VXK_INT32 = 4,
  VXK_DATE32 = 5 /* whole days from 1 January 1970, 32 bits, as Arrow has them */
} vxk_type;

/* A column of values, as Arrow lays it out. Row i is at values + (offset + i) * stride bytes, and
 * its bit offset + i of validity, lowest bit of a byte first, is 1 if it is present. With stride 0
 * all rows have the value at values and the bit at offset. */
typedef struct vxk_column {
  uint32_t size;
  int32_t type;       /* a vxk_type */
  const void* values; /* NULL: all rows have the argument that the call holds, such as a text */
  const uint8_t* validity; /* NULL: all are present */
  int64_t offset;          /* 0 or more */
  int64_t stride;          /* in bytes; negative strides are allowed */
  int32_t is_list; /* of vxk_evaluate_lists: 1: a value for each flow; 0: one for each group */
  int32_t reserved;
} vxk_column;

/* Where results go. Bits are numbered as in a column, from 0; the unused bits of the last byte
 * become 0. */
typedef struct vxk_results {
  uint32_t size;
  uint32_t reserved;
  double* values;    /* one per row, NaN for a row that is missing or fails */
  uint8_t* validity; /* NULL, or a bit per row: 1 where there is a result */
  uint8_t* failures; /* NULL, or a bit per row: 1 where the row fails */
} vxk_results;

typedef struct vxk_options {
  uint32_t size;
  int32_t threads; /* how many work at most, the caller's included; 0 and 1: the caller's alone */
  int32_t stop_at_failure; /* 1: VXK_FAILED ends it at the first row that fails */
  int32_t date_list;       /* of lists, see there: the column of dates, from 1; 0: flows stay */
  int32_t min_flows;       /* of lists: a group with fewer flows, counted before flows of one date
                              are added up, has a missing result; 0 and 1: a group without any */
  int32_t reserved;
  const volatile int32_t* cancel; /* NULL, or a flag, written atomically, that is read before each
                                     row: not 0 ends it */
} vxk_options;

/* How it went. */
typedef struct vxk_report {
  uint32_t size;
  uint32_t reserved;
  int64_t failed;  /* rows that fail */
  int64_t missing; /* rows without a result because a value is missing */
  vxk_error first; /* of the first row that fails; status VXK_OK if none does */
} vxk_report;

/* Evaluates the call on each row of columns, one column per argument in their order.
 *
 * A row with a missing value has a missing result, whatever the argument. A row whose result is
 * infinite or NaN fails with VXK_NOT_FINITE. A row that fails stops no other, unless asked to.
 * Results do not depend on the number of threads. Options and report may be NULL; the report is
 * filled whatever is returned.
 *
 * Returns VXK_OK when all rows were evaluated, even if all of them fail; VXK_FAILED with
 * stop_at_failure when one fails, after which the results of that row and later ones are undefined
 * and the report counts the rows that were evaluated; VXK_CANCELLED, VXK_OUT_OF_MEMORY or
 * VXK_BAD_PARAMETER, with results undefined. The call keeps the arguments that it held for columns
 * without values; the others are undefined. */
VXK_API int vxk_evaluate_columns(vxk_call* call, const vxk_column* columns, int64_t rows,
                                 const vxk_results* results, const vxk_options* options,
                                 vxk_report* report);

/* Evaluates a keyword once for each of many groups of flows, such as cash flows. The flows of all
 * groups are side by side: group g has those from offsets[g] up to offsets[g + 1], so that there
 * are groups + 1 offsets, not falling. The columns are the keyword's arguments in order: a column
 * with is_list has a row per flow and gives as many arguments as the group has flows, any other has
 * a row per group and gives one. IRR takes a list of amounts; XNPV a rate per group, a list of
 * amounts and a list of dates.
 *
 * A flow without a value in the first list (its amount) is passed over; one with it, but without a
 * value in another list, makes its group fail. A missing value per group makes a missing result.
 * With date_list, flows are sorted by that list and those of one date are added up, in their order:
 * the last digit may differ from a call whose arguments are written one by one. Everything else is
 * as in vxk_evaluate_columns, with groups for rows. In an error, argument is the number of the
 * column. */
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
  VXK_DATE_TIME = 3, /* a date, or days with a fraction */
  VXK_BASIS = 4,     /* a day-count basis; see vxk_basis */
  VXK_FREQUENCY =
      5 /* coupons per year: 1, 2, 4, 6 or 12. The module takes others: do not pass them */
} vxk_argument_kind;

typedef enum vxk_presence {
  VXK_REQUIRED = 0,
  VXK_OPTIONAL = 1,
  VXK_LIST = 2,        /* one value or more. Lists of a keyword have one length */
  VXK_LIST_OR_NONE = 3 /* a list that may be empty */
} vxk_presence;

typedef enum vxk_result_kind {
  VXK_AMOUNT = 0, /* money, in the currency of the arguments or per 100 of face value */
  VXK_RATE = 1,   /* a fraction */
  VXK_DAYS = 2,
  VXK_COUNT = 3, /* of coupons or periods */
  VXK_YEARS = 4,
  VXK_DATE_RESULT = 5
} vxk_result_kind;

/* Texts are UTF-8, zero-terminated and valid for ever. */
typedef struct vxk_keyword_info {
  uint32_t size;
  int32_t result_kind;   /* a vxk_result_kind */
  int32_t arguments;     /* how many vxk_argument_info there are */
  int32_t min_arguments; /* of a call */
  int32_t max_arguments; /* of a call; -1: any number */
  int32_t reserved;
  const char* name;    /* "PRICE" */
  const char* task;    /* what it belongs to: "Bonds" */
  const char* title;   /* a phrase: "price of a bond with coupons" */
  const char* summary; /* a paragraph */
  const char* result;  /* a phrase, with the unit */
  const char* formula; /* lines */
  const char* example; /* arguments, with blanks between, dates as YYYY-MM-DD */
  const char* example_result;
  const char* fails;   /* when the calculation has no result: a phrase, or "" */
  const char* related; /* keywords, with blanks between */
} vxk_keyword_info;

typedef struct vxk_argument_info {
  uint32_t size;
  int32_t kind;     /* a vxk_argument_kind */
  int32_t presence; /* a vxk_presence */
  int32_t reserved;
  const char* name;         /* "settlement" */
  const char* meaning;      /* a phrase, with the unit */
  const char* range;        /* what is allowed: "greater than 0", or "any" */
  const char* default_text; /* of an optional argument, otherwise "" */
  double default_value;     /* the number that means the same; NaN where there is none */
} vxk_argument_info;

/* The keywords of FINANCE in alphabetical order, from 0. The structures' sizes must be set. False
 * (0) when there is no such keyword or argument; arguments are numbered from 1. */
VXK_API int32_t vxk_keyword_count(void);
VXK_API int vxk_keyword(int32_t index, vxk_keyword_info* info);
VXK_API int vxk_argument(int32_t index, int32_t argument, vxk_argument_info* info);

/* The index of a keyword, in any case; -1 when there is none. */
VXK_API int32_t vxk_find_keyword(const char* name, size_t length);

/* The code of a day-count basis by its text, as the module reads it: in any case, blanks anywhere
 * ("ACTUAL", "act/360"); -1 for any other text. */
VXK_API int32_t vxk_basis(const char* text, size_t length);

#ifdef __cplusplus
}
#endif

#endif
