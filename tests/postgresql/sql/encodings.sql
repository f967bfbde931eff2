-- texts that other encodings make of letters, long enough to be cut in messages
CREATE DATABASE japanese ENCODING 'EUC_JP' LOCALE 'C' TEMPLATE template0;
\c japanese
SET client_encoding = 'UTF8';
CREATE EXTENSION finance;
SELECT finance('SLN', 'x' || repeat('忻', 100), 1, 2);
SELECT finance(repeat('忻', 60)::text);
CREATE DATABASE latin ENCODING 'LATIN1' LOCALE 'C' TEMPLATE template0;
\c latin
SET client_encoding = 'UTF8';
CREATE EXTENSION finance;
SELECT finance('SLN', '9' || repeat(' ', 60) || 'é', 0, 3);
SELECT finance('YEARFRAC', DATE '2020-01-01', DATE '2020-07-01', 'ACT/360' || repeat(' ', 60) || 'é');
SELECT finance('SLN', '9' || repeat(' ', 60), 0, 3);
