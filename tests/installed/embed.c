/* A C program that embeds the kernel: columns with a constant, validity bits and dates; a row that
 * fails; lists that are sorted. Expected values are published or follow from the definition. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include <vxkernel.h>

static int failures = 0;
#define EXPECT(holds) \
  ((holds) ? (void)0 : (void)(++failures, printf("line %d: %s\n", __LINE__, #holds)))

static vxk_column column_of(int32_t type, const void *values, int64_t stride) {
  vxk_column column = {sizeof column, 0, NULL, NULL, 0, 0, 0, 0};
  column.type = type;
  column.values = values;
  column.stride = stride;
  return column;
}

int main(void) {
  vxk_kernel *kernel = NULL;
  vxk_call *call = NULL;
  vxk_error error = {sizeof error, 0, 0, 0, 0, ""};
  vxk_report report = {sizeof report, 0, 0, 0, {sizeof error, 0, 0, 0, 0, ""}};
  double values[4];
  uint8_t validity[1], failed[1];
  vxk_results results = {sizeof results, 0, NULL, NULL, NULL};
  vxk_options options = {sizeof options, 0, 0, 0, 0, 0, NULL};
  int32_t argument = 0, basis;
  double result = 0;

  EXPECT(vxk_interface() == VXK_INTERFACE);
  EXPECT(vxk_open("/nowhere/vxfnc.so", NULL, &kernel, &error) == VXK_CANNOT_LOAD && kernel == NULL);
  EXPECT(strstr(error.message, "/nowhere/vxfnc.so") != NULL);
  if (vxk_open(NULL, NULL, &kernel, &error) != VXK_OK) return puts(error.message), 1;

  EXPECT(vxk_prepare(kernel, "FINANCE", "NOPE", 3, &call, &error) == VXK_NO_KEYWORD);
  EXPECT(vxk_prepare(kernel, "NOPE", "SLN", 3, &call, NULL) == VXK_NO_FUNCTION && call == NULL);
  EXPECT(vxk_prepare(kernel, NULL, "sln", 3, &call, NULL) == VXK_OK);
  {
    const double asset[] = {35000, 5000, 5}, bad[] = {35000, 5000, 0};
    EXPECT(vxk_evaluate(call, asset, &result, &argument) == VXK_OK && result == 6000);
    EXPECT(vxk_evaluate(call, bad, &result, &argument) == VXK_FAILED && argument == 3);
    EXPECT(isnan(result) && vxk_evaluate(call, asset, &result, NULL) == VXK_OK && result == 6000);
  }
  { /* One cost for all rows; the life is every second 32-bit integer. Its value is missing in the
       second row, and the third row fails. */
    const double cost = 35000, salvage[] = {5000, 5000, 5000, NAN};
    const int32_t life[] = {-1, -1, -1, -1, -1, -1, 5, -1, 0, -1, 0, -1, 5};
    const uint8_t present[] = {0x0D << 3};
    vxk_column columns[3];
    columns[0] = column_of(VXK_FLOAT64, &cost, 0);
    columns[1] = column_of(VXK_FLOAT64, salvage, sizeof *salvage);
    columns[2] = column_of(VXK_INT32, life, 2 * sizeof *life);
    columns[2].validity = present;
    columns[2].offset = 3;
    results.values = values, results.validity = validity, results.failures = failed;
    EXPECT(vxk_evaluate_columns(call, columns, 4, &results, &options, &report) == VXK_OK);
    EXPECT(values[0] == 6000 && isnan(values[1]) && isnan(values[2]) && isnan(values[3]));
    EXPECT((validity[0] & 0xF) == 1 && (failed[0] & 0xF) == 4);
    EXPECT(report.failed == 1 && report.missing == 2 && report.first.row == 2);
    EXPECT(strcmp(report.first.message, "sln: argument 3 is invalid: 0") == 0);
    options.stop_at_failure = 1;
    EXPECT(vxk_evaluate_columns(call, columns, 4, &results, &options, &report) == VXK_FAILED);
    columns[0].type = 99;
    EXPECT(vxk_evaluate_columns(call, columns, 4, &results, &options, &report) ==
           VXK_BAD_PARAMETER);
    EXPECT(vxk_evaluate_columns(call, columns, 0, &results, &options, &report) == VXK_OK);
    columns[1].size = 0;
    EXPECT(vxk_evaluate_columns(call, columns, 4, &results, &options, &report) ==
           VXK_BAD_PARAMETER);
  }
  vxk_release(call);

  { /* Dates in Arrow format, and a basis that is set in the call as a text. */
    const int32_t settlement = 13514, maturity = 14061; /* 2007-01-01, 2008-07-01 */
    vxk_column columns[3];
    columns[0] = column_of(VXK_DATE32, &settlement, 0);
    columns[1] = column_of(VXK_DATE32, &maturity, 0);
    columns[2] = column_of(VXK_FLOAT64, NULL, 0);
    EXPECT(vxk_prepare(kernel, "FINANCE", "YEARFRAC", 3, &call, NULL) == VXK_OK);
    EXPECT(vxk_set_text(call, 3, " Actual ", 8) == VXK_OK);
    EXPECT(vxk_evaluate_columns(call, columns, 2, &results, NULL, &report) == VXK_OK);
    EXPECT(values[1] == 547 / 365.5 && report.failed == 0);
    vxk_release(call);
  }
  { /* PV for a rate of 0 is NaN. In columns, the row fails. */
    const double flows[] = {0, 12, -100};
    vxk_column columns[3];
    int i;
    EXPECT(vxk_prepare(kernel, "FINANCE", "PV", 3, &call, NULL) == VXK_OK);
    EXPECT(vxk_evaluate(call, flows, &result, NULL) == VXK_OK && isnan(result));
    for (i = 0; i < 3; ++i) columns[i] = column_of(VXK_FLOAT64, &flows[i], 0);
    EXPECT(vxk_evaluate_columns(call, columns, 1, &results, NULL, &report) == VXK_OK);
    EXPECT(report.failed == 1 && report.first.status == VXK_NOT_FINITE);
    vxk_release(call);
  }
  { /* Three groups of flows. The first and the last are not sorted and have two flows of one date.
       The second has no amount. */
    const double amounts[] = {500, -1000, 600, NAN, 10, -100, 110};
    const double dates[] = {20365, 20000, 20365, 1, 20365, 20000, 20365};
    const int64_t offsets[] = {0, 3, 4, 7};
    vxk_column columns[2];
    columns[0] = column_of(VXK_FLOAT64, amounts, sizeof *amounts);
    columns[1] = column_of(VXK_FLOAT64, dates, sizeof *dates);
    columns[0].is_list = columns[1].is_list = 1;
    options.stop_at_failure = 0, options.date_list = 2, options.threads = 2;
    EXPECT(vxk_evaluate_lists(kernel, NULL, "XIRR", columns, 2, offsets, 3, &results, &options,
                              &report) == VXK_OK);
    EXPECT(fabs(values[0] - 0.1) < 1e-12 && isnan(values[1]) && fabs(values[2] - 0.2) < 1e-12);
    EXPECT(report.missing == 1 && report.failed == 0);
    { /* XNPV discounts to the date of the earliest flow. */
      const double rate = 0.2;
      vxk_column valued[3];
      valued[0] = column_of(VXK_FLOAT64, &rate, 0);
      valued[1] = columns[0], valued[2] = columns[1];
      options.date_list = 3;
      EXPECT(vxk_evaluate_lists(kernel, NULL, "XNPV", valued, 3, offsets, 3, &results, &options,
                                &report) == VXK_OK);
      EXPECT(fabs(values[0] - (-1000 + 1100 / 1.2)) < 1e-9);
    }
  }
  { /* The descriptions of keywords. */
    vxk_keyword_info keyword;
    vxk_argument_info parameter;
    const int32_t price = vxk_find_keyword("price", 5);
    keyword.size = sizeof keyword, parameter.size = sizeof parameter;
    EXPECT(vxk_keyword(price, &keyword) && strcmp(keyword.name, "PRICE") == 0);
    EXPECT(keyword.min_arguments == 6 && keyword.max_arguments == 7 && keyword.arguments == 7);
    EXPECT(vxk_argument(price, 3, &parameter) && strcmp(parameter.range, "greater than 0") == 0);
    EXPECT(vxk_argument(price, 7, &parameter) && parameter.default_value == 0);
    EXPECT(!vxk_argument(price, 8, &parameter) && !vxk_keyword(vxk_keyword_count(), &keyword));
    EXPECT(vxk_find_keyword("NOPE", 4) == -1);
  }
  for (basis = 0; basis < 5; ++basis) {
    const char *const names[] = {"30/360", " actual ", "ACT / 360", "Act/365", "eu30/360"};
    EXPECT(vxk_basis(names[basis], strlen(names[basis])) == basis);
  }
  EXPECT(vxk_basis("", 0) == -1 && vxk_basis("ACT", 3) == -1);
  vxk_close(kernel);
  puts(failures == 0 ? "C: passed" : "C: failed");
  return failures != 0;
}
