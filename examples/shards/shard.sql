-- On each shard: the extension, and the table with its part of the rows.
CREATE EXTENSION finance;
CREATE TABLE bonds(id int, portfolio int, settle date, maturity date, coupon float8, price float8);
