SET datestyle = ISO;
CREATE FUNCTION finance(keyword text, float8, float8, float8) RETURNS float8 LANGUAGE sql RETURN 666;  -- in the way
CREATE EXTENSION finance;
SELECT finance_sln(9, 0, 3);
DROP FUNCTION finance(text, float8, float8, float8);
-- values, in the ways that SQL can give them
SELECT finance('PRICE', DATE '2008-02-15', DATE '2017-11-15', 0.0575, 0.065, 100, 2, 0);
SELECT finance('price ', '2008-02-15', '2017-11-15', '0.0575', 6.5e-2::text, 100::int8, '2', '30/360');
SELECT finance_price('2008-02-15', '2017-11-15', 0.0575, 0.065, 100, 2) AS "30/360", finance_price('2008-02-15', '2017-11-15', 0.0575, 0.065, 100, 2, 'ACTUAL') AS "ACTUAL", finance_price('2008-02-15', '2017-11-15', 0.0575, 0.065, 100, 2, 1) AS "1";
SELECT finance_coupncd('2011-01-25', '2011-11-15', 2), DATE '1960-01-01' + finance('COUPNCD', '2011-01-25', '2011-11-15', 2)::int AS finance;
SELECT finance('YEARFRAC', DATE '2020-01-31', DATE '2020-03-15', NULL) = finance('YEARFRAC', DATE '2020-01-31', DATE '2020-03-15', 'ACTUAL') AS missing_is_actual;
SELECT finance('DB', 0, 0, 2, 2) IS NULL, finance('TBILLYIELD', DATE '2020-01-01', DATE '2020-01-01', 99);
SELECT finance_tbillprice('2008-03-31', '2008-06-01', 0.09), finance('TBILLPRICE', TIMESTAMP '2008-03-31 06:00', TIMESTAMP '2008-04-01 12:00', 0.09);
SELECT finance('IRR', VARIADIC ARRAY[-100, 110]), finance('FVSCHEDULE', 5), finance('NPV', VARIADIC ARRAY[0.1, 110]::numeric[]);
SELECT round(finance('XIRR', VARIADIC ARRAY['-100', '110', '2020-01-01', '2020-12-31'])::numeric, 12);
CREATE DOMAIN rate AS numeric CHECK (value > 0);
SELECT finance('SLN', 9::rate, 0, 3::int2), finance('SLN'::char(5), 9::varchar, 0::bpchar, 3::float4), finance('SLN', VARIADIC ARRAY[9, 3, 2]::rate[]);
SELECT word, finance(word::varchar, 9000, 1000, 5, 1) FROM (VALUES ('SYD'), ('DDB'), ('DB')) AS words(word);
PREPARE price(text, date) AS SELECT finance($1, $2, DATE '2017-11-15', 0.0575, 0.065, 100, 2);
EXECUTE price('PRICE', '2008-02-15');
EXECUTE price('COUPNUM', '2008-02-15');
-- errors are the interface
\set SHOW_CONTEXT never
SELECT finance('PRICE', DATE '2008-02-15', DATE '2017-11-15', -0.05, 0.065, 100, 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('PRICE', 17577, DATE '2017-11-15', 0.05, 0.065, 100, 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('PRICE', '2008-02-30', DATE '2017-11-15', 0.05, 0.065, 100, 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('YEARFRAC', DATE '2020-01-31', DATE '2020-03-15', '30/361');
\echo :LAST_ERROR_SQLSTATE
SELECT finance('COUPNUM', '17577', '2011-11-15', 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('SLN', 1);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('PRICE', DATE '2008-02-15', DATE '2017-11-15', 0.05, -2.5, 100, 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('SLN', DATE '2008-02-15', 1, 2);
SELECT finance('SLN', NULL, 1, 2);
SELECT finance('SLN', true, 1, 2);
SELECT finance('COUPNUM', '2011-01-25', now(), 2);
\echo :LAST_ERROR_SQLSTATE
SELECT finance('COUPNUM', '2011-01-25', DATE 'infinity', 2);
SELECT finance('COUPNUM', TIMESTAMP '2011-01-25 12:00', '2011-11-15', 2);
SELECT finance('COUPNUM', '2011-01-25', '2011-11-15', 3);
SELECT finance('SLN'), finance_try('SLN');
SELECT finance('NOPE', 1);
SELECT finance(NULL, 1);
SELECT finance_try('SLN', NULL, 1, 2), finance_try('SLN', 1), finance_try('SLN', now(), 0, 3), finance_try('SLN', 1e400, 0, 3), finance_try('SLN', 9, 0, 3);
SELECT finance_try('SLN', x, 0, 4) FROM (VALUES ('4'), ('x'), ('8')) AS v(x);
-- aggregates, whatever the order of rows and however they are shared out
CREATE TABLE flows(fund text, day date, amount float8);
INSERT INTO flows VALUES ('A', '2009-04-01', 2750), ('A', '2008-01-01', -10000), ('A', '2008-10-30', 4250), ('A', '2009-02-15', 3250), ('B', '2020-01-01', -1), ('A', '2008-03-01', 2750), ('B', NULL, NULL);
SELECT fund, round(finance_xirr(amount, day)::numeric, 9), round(finance_xnpv(0.09, amount, day)::numeric, 6) FROM flows GROUP BY fund ORDER BY fund;
SELECT round(finance_irr(a, p)::numeric, 9), finance_npv(0.1, a, p) FROM (VALUES (110, 2), (-100, 1)) AS v(a, p);
SELECT finance_npv(0.1, amount, 1), finance_xirr(amount, day), finance_irr(amount, 1) FROM flows WHERE false;
SELECT finance_npv(0.25, a, p) OVER (ORDER BY p DESC ROWS BETWEEN 1 PRECEDING AND CURRENT ROW) FROM (VALUES (5, 1), (25, 2), (50, 3)) AS v(a, p);
SELECT finance_xnpv(NULL, amount, day) FROM flows;
\echo :LAST_ERROR_SQLSTATE
SELECT finance_npv(amount, amount, 1) FROM flows WHERE amount > 0;
SELECT finance_irr(amount, NULL) FROM flows;
SELECT finance_xirr(amount, 'infinity') FROM flows;
SELECT finance_irr(1, 1) FROM flows;
SELECT finance_npv(-1.5, 1, 1);
\echo :LAST_ERROR_SQLSTATE
SELECT fund, finance_try_irr(amount, day - DATE '2008-01-01') IS NULL, finance_try_xnpv(amount, amount, day), round(finance_try_xirr(amount, day)::numeric, 9) FROM flows GROUP BY fund ORDER BY fund;
-- pure, so that schemas can rely on it
CREATE TABLE assets(cost float8 CHECK (finance('SLN', cost, 0, 5) > 1), yearly float8 GENERATED ALWAYS AS (finance_sln(cost, 0, 5)) STORED);
CREATE INDEX by_share ON assets(finance('SLN', cost, 0, 7));
INSERT INTO assets VALUES (700);
INSERT INTO assets VALUES (1);
SET enable_seqscan = off;
EXPLAIN (COSTS OFF) SELECT * FROM assets WHERE finance('SLN', cost, 0, 7) = 100;
SELECT * FROM assets WHERE finance('SLN', cost, 0, 7) = 100;
RESET enable_seqscan;
-- on two processors the same as on one
CREATE TABLE bonds AS SELECT DATE '2026-11-23' + 200 + n % 9000 AS maturity, 0.01 + n % 70 / 1000.0 AS coupon, n % 7 AS fund, n FROM generate_series(1, 20000) AS n;
CREATE VIEW results AS SELECT fund, count(*) FILTER (WHERE finance('PRICE', DATE '2026-11-23', maturity, coupon, 0.04, 100, 2) > 100), finance_xnpv(0.04, coupon, maturity), finance_irr(CASE WHEN n <= 7 THEN -9 ELSE coupon END, n) FROM bonds GROUP BY fund;
CREATE TABLE alone AS SELECT * FROM results;
SET min_parallel_table_scan_size = 0; SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET max_parallel_workers_per_gather = 2;
EXPLAIN (COSTS OFF) SELECT * FROM results;
SELECT count(*) FROM results JOIN alone USING (fund, count, finance_xnpv, finance_irr);
SELECT finance_npv(0.01 + fund, coupon, 1) FROM bonds;
SELECT finance_try_npv(0.01 + fund, coupon, 1), finance_try_npv(0.01, coupon, NULLIF(n, 9)) FROM bonds;
RESET max_parallel_workers_per_gather;
-- anyone may call it
CREATE ROLE analyst; SET ROLE analyst;
SELECT finance('SLN', 9, 0, 3), finance_version() ~ '^vxfnc [0-9.]+ \([-0-9: UTC]+\), interface 7\.[0-9], adapter [0-9.]+$';
RESET ROLE;
CREATE TABLE words(word finance_keyword); INSERT INTO words VALUES ('price'), ('YIELD  ');
COPY words TO PROGRAM 'cat >words' (FORMAT binary);
COPY words FROM PROGRAM 'cat words' (FORMAT binary);
SELECT word::text, count(*) FROM words GROUP BY 1 ORDER BY 1;
-- a statement ends between two rows
SET statement_timeout = 100;
SELECT count(finance('SLN', n, 0, 5)) FROM (SELECT generate_series(1, 1e12) AS n) AS rows;
RESET statement_timeout;
-- a call without an expression
CREATE TYPE span AS RANGE (subtype = float8, subtype_diff = finance_dollarde);
CREATE TABLE spans AS SELECT span(n, n + 1) AS span FROM generate_series(1, 2000) AS n;
CREATE INDEX ON spans USING gist (span);
-- functions that go while a statement runs
CREATE FUNCTION gone() RETURNS float8 LANGUAGE plpgsql AS $$BEGIN DROP EXTENSION finance CASCADE; RETURN 0; END$$;
SET client_min_messages = warning;
SELECT finance_sln(x + gone, 0, 3) FROM (SELECT 9.0::float8 AS x, gone() OFFSET 0) AS rows;
