-- One phone. Opening a phone of an older version runs this too, for the tables that it lacks.
-- Texts are UTF-8; a lone UTF-16 surrogate stands as the three bytes of its own number.
CREATE TABLE IF NOT EXISTS device (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  os_query_fails INTEGER NOT NULL,
  os_major INTEGER NOT NULL,
  os_minor INTEGER NOT NULL,
  os_build INTEGER NOT NULL,
  os_platform INTEGER NOT NULL,
  memory_load INTEGER NOT NULL,
  memory_total INTEGER NOT NULL,
  memory_available INTEGER NOT NULL,
  power_query_fails INTEGER NOT NULL,
  power_ac_line INTEGER NOT NULL,
  power_battery_flag INTEGER NOT NULL,
  power_battery_percent INTEGER NOT NULL,
  clock_local_time INTEGER,   -- milliseconds since 1970 in local time, null when the clock runs
  clock_utc_offset INTEGER    -- minutes, null for the host's
) STRICT;

-- The number of a line is its place in the order of position.
CREATE TABLE IF NOT EXISTS line (
  position INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  manufacturer TEXT,          -- null: the radio's record leaves it out
  model TEXT,
  revision TEXT,
  serial_number TEXT,
  subscriber_number TEXT,
  radio_off INTEGER NOT NULL,
  operation_unavailable INTEGER NOT NULL
) STRICT;

-- Roots have parent 0. folded is the name without regard to case.
CREATE TABLE IF NOT EXISTS registry_key (
  id INTEGER PRIMARY KEY,
  parent INTEGER NOT NULL,
  name TEXT NOT NULL,
  folded TEXT NOT NULL,
  UNIQUE (parent, folded)
) STRICT;

CREATE TABLE IF NOT EXISTS registry_value (
  id INTEGER PRIMARY KEY,
  key INTEGER NOT NULL REFERENCES registry_key (id),
  name TEXT NOT NULL,
  folded TEXT NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  UNIQUE (key, folded)
) STRICT;

-- Contacts and appointments by their Pocket Outlook folder.
CREATE TABLE IF NOT EXISTS item (
  oid INTEGER PRIMARY KEY AUTOINCREMENT,
  folder INTEGER NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS message_box_answer (
  position INTEGER PRIMARY KEY,
  caption TEXT,
  contains TEXT,
  answer INTEGER NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS fault (
  position INTEGER PRIMARY KEY,
  call TEXT NOT NULL,
  result INTEGER,
  skip INTEGER NOT NULL,
  times INTEGER NOT NULL
) STRICT;
