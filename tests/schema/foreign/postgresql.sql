-- A rental shop as PostgreSQL's people write theirs.
CREATE TYPE mpaa_rating AS ENUM ('G', 'PG', 'NC-17');
CREATE DOMAIN year AS integer CHECK (VALUE >= 1901 AND VALUE <= 2155);
CREATE TABLE customer (
  customer_id SERIAL PRIMARY KEY,
  email TEXT UNIQUE,
  activebool BOOLEAN DEFAULT true NOT NULL,
  maybe BOOLEAN,
  create_date DATE DEFAULT ('now'::text)::date NOT NULL,
  last_update TIMESTAMPTZ DEFAULT now(),
  amount MONEY, free NUMERIC, huge NUMERIC, tags TEXT[], doc JSONB, born YEAR, code CHAR(4), name NAME, spent INTERVAL, near POINT,
  exact TIMESTAMP, millis TIMESTAMP(6), ends TIMESTAMP(0), bits BIT VARYING(5)
);
CREATE TABLE film (
  film_id INTEGER GENERATED ALWAYS AS IDENTITY (START WITH 100 INCREMENT BY 10),
  title VARCHAR(255) NOT NULL CHECK (title <> ''),
  rating mpaa_rating DEFAULT 'G'::mpaa_rating,
  length SMALLINT CHECK (length > 0),
  minutes NUMERIC(5,2) GENERATED ALWAYS AS (length * 1.5) STORED,
  PRIMARY KEY (film_id), UNIQUE (title, length), EXCLUDE USING btree (length WITH =)
);
COMMENT ON TABLE film IS 'what is lent';
CREATE TABLE rental (
  a INTEGER, b VARCHAR(255), c SMALLINT, "Inventory Id" BIGINT,
  CONSTRAINT to_film FOREIGN KEY (b, c) REFERENCES film (title, length) ON UPDATE CASCADE ON DELETE SET NULL,
  CONSTRAINT to_customer FOREIGN KEY (a) REFERENCES customer ON DELETE CASCADE
);
CREATE INDEX lower_b ON rental (lower(b));
CREATE INDEX few ON rental (c) WHERE c > 10;
CREATE INDEX filled ON rental (a, c DESC) WHERE a IS NOT NULL OR c IS NOT NULL;
CREATE INDEX "rental_Inventory" ON rental ("Inventory Id") INCLUDE (c);
INSERT INTO customer (email, last_update, free, huge, exact, millis, ends) VALUES
  ('a@b.c', '2020-01-01 00:00:00.5+02', 12345.678, 1e50, '2020-01-01 00:00:00.000001', '2020-01-01 00:00:00.001', 'infinity'),
  ('d@e.f', NULL, -0.1, NULL, NULL, NULL, NULL);
INSERT INTO film (title, length) VALUES ('ACADEMY DINOSAUR', 86);
CREATE VIEW titles AS SELECT title FROM film;
CREATE MATERIALIZED VIEW kept AS SELECT title FROM film;
CREATE SCHEMA other;
CREATE TABLE other.t (n INTEGER);
