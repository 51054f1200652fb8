-- A rental shop as MySQL's people write theirs.
SET FOREIGN_KEY_CHECKS=0;
CREATE TABLE actor (
  actor_id SMALLINT UNSIGNED NOT NULL AUTO_INCREMENT,
  first_name VARCHAR(45) NOT NULL,
  last_update TIMESTAMP NOT NULL DEFAULT CURRENT_TIMESTAMP ON UPDATE CURRENT_TIMESTAMP,
  PRIMARY KEY (actor_id), KEY idx_first_name (first_name)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4;
CREATE TABLE film (
  film_id INT UNSIGNED NOT NULL AUTO_INCREMENT,
  title VARCHAR(255) NOT NULL,
  description TEXT DEFAULT NULL COMMENT 'what it''s about',
  release_year YEAR DEFAULT NULL,
  rental_duration TINYINT UNSIGNED NOT NULL DEFAULT 3,
  rental_rate DECIMAL(4,2) NOT NULL DEFAULT 4.99,
  rating ENUM('G','PG','PG-13','R','NC-17') DEFAULT 'G',
  special_features SET('Trailers','Commentaries','Deleted Scenes') DEFAULT NULL,
  stars TINYINT(1) NOT NULL DEFAULT 0,
  seen BIGINT UNSIGNED, size MEDIUMINT, extra JSON, flags BIT(12), hours TIME, night TIME, born DATE, exact DATETIME(6), millis DATETIME(6),
  twice INT GENERATED ALWAYS AS (size * 2) STORED,
  old DATE,
  PRIMARY KEY (film_id), FULLTEXT KEY words (title), UNIQUE KEY both_ways (release_year, title DESC), CHECK (size > 0)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4;
CREATE TABLE film_actor (
  actor_id SMALLINT UNSIGNED NOT NULL, film_id INT UNSIGNED NOT NULL, other INT UNSIGNED,
  PRIMARY KEY (film_id, actor_id),
  CONSTRAINT fk_actor FOREIGN KEY (actor_id) REFERENCES actor (actor_id) ON UPDATE CASCADE,
  CONSTRAINT fk_film FOREIGN KEY (film_id) REFERENCES film (film_id) ON DELETE CASCADE ON UPDATE CASCADE,
  CONSTRAINT fk_other FOREIGN KEY (other) REFERENCES film (film_id) ON DELETE SET NULL
) ENGINE=InnoDB;
INSERT INTO actor (first_name) VALUES ('PENELOPE'), ('NICK');
SET sql_mode='';
INSERT INTO film (title, stars, hours, night, size, exact, millis, old) VALUES
  ('ACADEMY DINOSAUR', 4, '123:00:00', '23:00:00', 1, '2020-01-01 00:00:00.000001', '2020-01-01 00:00:00.001', '0000-00-00');
INSERT INTO film_actor VALUES (1, 1, NULL), (2, 1, 1);
CREATE VIEW actors AS SELECT first_name FROM actor;
CREATE TRIGGER upper_name BEFORE INSERT ON actor FOR EACH ROW SET NEW.first_name = UPPER(NEW.first_name);
