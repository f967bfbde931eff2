-- On the coordinator, which users query: one table whose partitions are the tables of the shards.
\getenv folder PGHOST
CREATE EXTENSION finance;
CREATE EXTENSION postgres_fdw;
CREATE SERVER shard1 FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host :'folder', port '5442', extensions 'finance', async_capable 'true', batch_size '5000');
CREATE SERVER shard2 FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host :'folder', port '5443', extensions 'finance', async_capable 'true', batch_size '5000');
CREATE USER MAPPING FOR CURRENT_USER SERVER shard1;
CREATE USER MAPPING FOR CURRENT_USER SERVER shard2;

CREATE TABLE bonds(id int, portfolio int, settle date, maturity date, coupon float8, price float8)
  PARTITION BY HASH (portfolio);
CREATE FOREIGN TABLE bonds1 PARTITION OF bonds FOR VALUES WITH (MODULUS 2, REMAINDER 0)
  SERVER shard1 OPTIONS (table_name 'bonds');
CREATE FOREIGN TABLE bonds2 PARTITION OF bonds FOR VALUES WITH (MODULUS 2, REMAINDER 1)
  SERVER shard2 OPTIONS (table_name 'bonds');

-- A million bonds on this machine, and the same bonds on the shards.
CREATE TABLE bonds_here AS
  SELECT n AS id, n % 2000 AS portfolio, DATE '2026-11-23' AS settle,
         DATE '2026-11-23' + 30 + n * 7 % 10950 AS maturity,
         (1 + n % 56 / 8.0) / 100 AS coupon, 80 + n * 13 % 4000 / 100.0::float8 AS price
    FROM generate_series(1, 1000000) AS n;
INSERT INTO bonds SELECT * FROM bonds_here;
ANALYZE bonds, bonds_here;
