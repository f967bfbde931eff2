#!/usr/bin/env python3
"""Runs the functions of `finance --definitions clickhouse` in ClickHouse, and prints how long they take.
usage: test.py BUILD-FOLDER LIBCHDB"""
import ctypes, difflib, os, pathlib, re, subprocess, sys, tempfile, time
import xml.etree.ElementTree as xml

tests, home = pathlib.Path(__file__).resolve().parent, tempfile.TemporaryDirectory()
os.environ["PATH"] = os.path.abspath(sys.argv[1]) + "/bin:" + os.environ["PATH"]


def command(*words, rows=""):
    return subprocess.run(["finance", *words], input=rows, capture_output=True, text=True).stdout


# The functions, and copies of two of them: other kinds of processes, and other treatments of errors.
definitions = xml.fromstring(command("--definitions", "clickhouse"))
for base, name, changes in [
        ("price", "single_price", [("<name>", "<pool_size>1</pool_size><name>")]),
        ("price", "executable_price", [("executable_pool", "executable")]),
        ("sln", "strict_sln", [("SLN<", "SLN --errors fail<")]),
        ("sln", "text_sln", [("SLN<", "SLN --errors text<"), ("Nullable(Float64)</return", "String</return")])]:
    copy = xml.tostring(definitions.find(f"function[name='finance_{base}']"), "unicode")
    for old, new in [(f"finance_{base}", name), *changes]:
        copy = copy.replace(old, new)
    definitions.append(xml.fromstring(copy))
xml.ElementTree(definitions).write(home.name + "/all_function.xml")

chdb, pointer, text = ctypes.CDLL(os.path.abspath(sys.argv[2])), ctypes.c_void_p, ctypes.c_char_p
for name, result, *arguments in [
        ("connect", pointer, ctypes.c_int, pointer), ("query", pointer, pointer, text, text),
        ("result_buffer", pointer, pointer), ("result_length", ctypes.c_size_t, pointer),
        ("result_error", text, pointer), ("destroy_query_result", None, pointer)]:
    function = getattr(chdb, "chdb_" + name)
    function.restype, function.argtypes = result, arguments
options = ["clickhouse", f"--path={home.name}/data", f"--user_scripts_path={home.name}",
           f"--user_defined_executable_functions_config={home.name}/*_function.xml"]
connection = pointer.from_address(
    chdb.chdb_connect(len(options), (text * len(options))(*map(str.encode, options))))


def query(sql):
    result = chdb.chdb_query(connection, sql.encode(), b"TSV")
    error = chdb.chdb_result_error(result)
    out = ctypes.string_at(chdb.chdb_result_buffer(result) or b"", chdb.chdb_result_length(result))
    if error:
        out = re.sub(rb"(, Stack trace|: In scope).*", b"\n", error, flags=re.S)
    chdb.chdb_destroy_query_result(result)
    return out.decode()


def finish(status):  # without the destructors of the library, which hang or crash
    sys.stdout.flush()
    home.cleanup()
    os._exit(status)


def expect(wanted, got, what):
    if wanted == got:
        return print(f"{what}: passed", flush=True)
    print("\n".join([what, *list(difflib.unified_diff(wanted.splitlines(), got.splitlines(), lineterm="", n=0))[:20]]))
    finish(1)


for file in [tests / "transcript.txt", tests / "../../docs/engines.md"]:
    blocks = re.findall(r"^(> .*\n(?:(?!```|\n).+\n)*)", file.read_text(), re.M)
    got = "".join(f"> {sql}\n{query(sql)}" for sql in re.findall("^> (.*)", "".join(blocks), re.M))
    expect("".join(blocks), got, f"ClickHouse {query('SELECT version()').strip()}, {file.name}")

# Every function with the example of its keyword, which is cut to the arguments of the function or
# filled with 1, must have the bits of the command.
calls, statements = [], []
for function in definitions:
    keyword, types = function.find("command").text.split()[2], [t.text for t in function.findall("argument/type")]
    page = (tests / f"../../docs/reference/{keyword}.md").read_text()
    words = re.search(r"\$ finance (?:--digits \d+ )?\w+ (.*)", page)[1].split()
    lists = sum(t.startswith("Array") for t in types)
    size = -((len(types) - lists - len(words)) // lists) if lists else 0  # of a list, rounded up
    words = (words + 9 * ["1"])[:len(types) - lists + lists * size]
    calls.append(" ".join([keyword, *words]))
    rest = iter(f"'{w}'" if re.search(r"[A-Z]|\d-\d", w) else w for w in words)
    literals = [f"[{', '.join(next(rest) for _ in range(size))}]" if t.startswith("Array") else next(rest) for t in types]
    statements.append(f"{function.find('name').text}({', '.join(literals)})")
value = lambda word: word if re.search(r"\d-\d\d-", word) else float(word)
results = command("--calls", "-", rows="\n".join(calls)).split()
expect("\n".join(f"{s} {value(r)}" for s, r in zip(statements, results)),
       "\n".join(f"{s} {value(query('SELECT ' + s).strip())}" for s in statements), f"{len(calls)} functions")


def timed(sql):  # the result, and the shortest time of three
    times = []
    for _ in range(3):
        start = time.monotonic()
        out = query(sql)
        times.append(time.monotonic() - start)
    return out.strip(), f"{min(times):.2f} s"


# A million rows must have the results of one process of the command.
bonds = ("toDate('2026-11-23'), toDate32('2031-05-15') + number % 9999, 0.04375, 0.03 + number / 5e7, 100, 2, "
         "if(number % 3, 'ACTUAL', '4')")
wanted = command("--filter", "PRICE", rows=query(f"SELECT {bonds} FROM numbers(1000000)"))
for name, threads in [("executable", 1), ("single", 1), ("finance", 1), ("finance", 2)]:
    rows, limit = f"(SELECT number, {name}_price({bonds}) AS p FROM numbers_mt(1000000))", f"SETTINGS max_threads = {threads}"
    expect(wanted, query(f"SELECT p FROM {rows} ORDER BY number {limit}"),
           f"1,000,000 rows of {name}_price in {timed(f'SELECT sum(p) FROM {rows} {limit}')[1]}, max_threads {threads}")

# The functions of ClickHouse, on 200,000 groups of 12 flows.
query("CREATE DATABASE test")
query("""CREATE TABLE test.flows ENGINE = Memory AS SELECT groupArray(amount) AS a, groupArray(day) AS d FROM (
    SELECT intDiv(number, 12) AS g, if(number % 12 = 0, -9000., 800 + number * 7 % 300) AS amount,
           toDate('2020-01-01') + number % 12 * 30 + g % 9 AS day FROM numbers(2400000) ORDER BY number) GROUP BY g""")
for theirs, ours in [("InternalRateOfReturnExtended(a, d)", "xirr_2(a, d)"), ("InternalRateOfReturn(a)", "irr(a)"),
                     ("NetPresentValueExtended(0.05, a, d)", "xnpv(0.05, a, d)"),
                     ("NetPresentValue(0.05, a, false)", "npv(0.05, a)")]:
    for threads in 1, 2:
        (wanted, inside), (got, piped) = (timed(f"SELECT sum({call}) FROM test.flows SETTINGS max_threads = {threads}")
                                          for call in ["financial" + theirs, "finance_" + ours])
        same = abs(float(got) / float(wanted) - 1) < 1e-13
        expect(wanted, wanted if same else got, f"finance_{ours} in {piped}, inside in {inside}, max_threads {threads}")
finish(0)
