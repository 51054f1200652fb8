-- A music shop as SQLite's people write theirs.
CREATE TABLE [Artist] ([ArtistId] INTEGER NOT NULL, [Name] NVARCHAR(120), CONSTRAINT [PK_Artist] PRIMARY KEY ([ArtistId]));
CREATE TABLE "Track" (
  "TrackId" INTEGER PRIMARY KEY, -- numbers its rows, also without AUTOINCREMENT
  "Name" NVARCHAR(200) NOT NULL, "ArtistId" INTEGER REFERENCES artist ON DELETE SET NULL,
  "UnitPrice" NUMERIC(10,2) NOT NULL DEFAULT 0.99, "Bytes" INTEGER, Wrong INTEGER, Any, Day DATE, Stamp TIMESTAMP DEFAULT CURRENT_TIMESTAMP,
  Small SMALLINT, Ratio REAL, Twice INT AS (Bytes * 2), Odd WIBBLE, UNIQUE ("Name", "ArtistId"));
CREATE TABLE Pair (a TEXT, b TEXT COLLATE NOCASE, PRIMARY KEY (b, a)) WITHOUT ROWID;
CREATE INDEX IFK_Track ON Track (ArtistId DESC);
CREATE INDEX Cheap ON Track (UnitPrice) WHERE UnitPrice < 1;
CREATE INDEX Lower ON Track (lower(Name));
CREATE VIEW Names AS SELECT Name FROM Track;
CREATE TRIGGER T AFTER INSERT ON Track BEGIN SELECT 1; END;
INSERT INTO Artist VALUES (1, 'AC/DC');
INSERT INTO Track (Name, ArtistId, Bytes, Wrong, Small, Ratio) VALUES ('For Those', 1, 11170334000, 'abc', 40000, 0.1), ('Balls', 1, 5, 2, 3, 2);
