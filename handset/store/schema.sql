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

-- Contacts and appointments by their Pocket Outlook folder; object ids are never given twice.
CREATE TABLE IF NOT EXISTS item (
  oid INTEGER PRIMARY KEY AUTOINCREMENT,
  folder INTEGER NOT NULL
) STRICT;

-- Columns with the names of properties have their values. Dates are days since 1899-12-30 in local time; a text that is
-- null was never put.
CREATE TABLE IF NOT EXISTS contact (
  oid INTEGER PRIMARY KEY REFERENCES item (oid) ON DELETE CASCADE,
  Birthday REAL,
  Anniversary REAL,
  FirstName TEXT,
  MiddleName TEXT,
  LastName TEXT,
  HomeTelephoneNumber TEXT,
  Home2TelephoneNumber TEXT,
  MobileTelephoneNumber TEXT,
  CarTelephoneNumber TEXT,
  RadioTelephoneNumber TEXT,
  BusinessTelephoneNumber TEXT,
  Business2TelephoneNumber TEXT,
  HomeFaxNumber TEXT,
  BusinessFaxNumber TEXT,
  PagerNumber TEXT,
  Email1Address TEXT,
  Email2Address TEXT,
  Email3Address TEXT,
  AssistantName TEXT,
  AssistantTelephoneNumber TEXT,
  CompanyName TEXT,
  Department TEXT,
  OfficeLocation TEXT,
  JobTitle TEXT,
  Spouse TEXT,
  Children TEXT,
  Categories TEXT,
  WebPage TEXT,
  Title TEXT,
  Suffix TEXT,
  HomeAddressStreet TEXT,
  HomeAddressCity TEXT,
  HomeAddressState TEXT,
  HomeAddressPostalCode TEXT,
  HomeAddressCountry TEXT,
  OtherAddressStreet TEXT,
  OtherAddressCity TEXT,
  OtherAddressState TEXT,
  OtherAddressPostalCode TEXT,
  OtherAddressCountry TEXT,
  BusinessAddressStreet TEXT,
  BusinessAddressCity TEXT,
  BusinessAddressState TEXT,
  BusinessAddressPostalCode TEXT,
  BusinessAddressCountry TEXT,
  FileAs TEXT,
  Body TEXT,
  ManagerName TEXT,
  NickName TEXT,
  AccountName TEXT,
  IM1Address TEXT,
  IM2Address TEXT,
  IM3Address TEXT,
  CustomerID TEXT,
  GovernmentIDNumber TEXT,
  get_props_answers INTEGER NOT NULL DEFAULT 0,
  empty_picture_opens INTEGER NOT NULL DEFAULT 0
) STRICT;

CREATE TABLE IF NOT EXISTS contact_picture (
  contact INTEGER PRIMARY KEY REFERENCES contact (oid) ON DELETE CASCADE,
  data BLOB NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS appointment (
  oid INTEGER PRIMARY KEY REFERENCES item (oid) ON DELETE CASCADE,
  Subject TEXT NOT NULL,
  Location TEXT NOT NULL,
  Categories TEXT NOT NULL,
  Body TEXT NOT NULL,
  "Start" REAL NOT NULL,
  "End" REAL NOT NULL,
  Duration INTEGER NOT NULL,
  AllDayEvent INTEGER NOT NULL,
  BusyStatus INTEGER NOT NULL,
  Sensitivity INTEGER NOT NULL,
  MeetingStatus INTEGER NOT NULL,
  ReminderSet INTEGER NOT NULL,
  ReminderSoundFile TEXT NOT NULL,
  ReminderMinutesBeforeStart INTEGER NOT NULL,
  ReminderOptions INTEGER NOT NULL
) STRICT;

-- Of appointments that recur. Reading a null fails.
CREATE TABLE IF NOT EXISTS recurrence (
  appointment INTEGER PRIMARY KEY REFERENCES appointment (oid) ON DELETE CASCADE,
  RecurrenceType INTEGER NOT NULL,
  PatternStartDate REAL NOT NULL,
  StartTime REAL NOT NULL,
  EndTime REAL NOT NULL,
  PatternEndDate REAL,
  NoEndDate INTEGER NOT NULL,
  Occurrences INTEGER,
  Interval INTEGER,
  DayOfWeekMask INTEGER,
  DayOfMonth INTEGER NOT NULL,
  MonthOfYear INTEGER NOT NULL,
  Instance INTEGER NOT NULL,
  Duration INTEGER NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS recipient (
  id INTEGER PRIMARY KEY,
  appointment INTEGER NOT NULL REFERENCES appointment (oid) ON DELETE CASCADE,
  name TEXT NOT NULL
) STRICT;
CREATE INDEX IF NOT EXISTS recipient_of_appointment ON recipient (appointment);

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

-- The call history. Times are FILETIMEs: steps of 100 ns since 1601, in UTC.
CREATE TABLE IF NOT EXISTS call (
  id INTEGER PRIMARY KEY,
  start_time INTEGER NOT NULL,
  end_time INTEGER NOT NULL,
  direction INTEGER NOT NULL,
  flags INTEGER NOT NULL,
  caller_id INTEGER NOT NULL,
  number TEXT,                -- null, here and below: the phone does not have it
  name TEXT,
  phone_type TEXT,
  note TEXT
) STRICT;
CREATE INDEX IF NOT EXISTS call_by_time ON call (start_time DESC, id);

-- Message stores. An account's own folders have parent 0.
CREATE TABLE IF NOT EXISTS mail_account (
  id INTEGER PRIMARY KEY,
  name TEXT
) STRICT;

CREATE TABLE IF NOT EXISTS mail_folder (
  id INTEGER PRIMARY KEY,
  account INTEGER NOT NULL REFERENCES mail_account (id),
  parent INTEGER NOT NULL,
  name TEXT,
  tells_count INTEGER NOT NULL,
  reported_count INTEGER      -- null: as many messages as it holds
) STRICT;
CREATE INDEX IF NOT EXISTS mail_folder_by_parent ON mail_folder (account, parent, id);

CREATE TABLE IF NOT EXISTS mail_message (
  id INTEGER PRIMARY KEY,
  folder INTEGER NOT NULL REFERENCES mail_folder (id),
  delivery_time INTEGER,      -- a FILETIME
  sender_name TEXT,
  sender_address TEXT,
  subject TEXT,
  has_entry_id INTEGER NOT NULL
) STRICT;
CREATE INDEX IF NOT EXISTS mail_message_by_time ON mail_message (folder, delivery_time DESC, id);

CREATE TABLE IF NOT EXISTS mail_recipient (
  id INTEGER PRIMARY KEY,
  message INTEGER NOT NULL REFERENCES mail_message (id),
  name TEXT,
  address TEXT,
  address_first INTEGER NOT NULL
) STRICT;
CREATE INDEX IF NOT EXISTS mail_recipient_by_message ON mail_recipient (message, id);

-- Text messages: the id of the next one, what the network does with them, and those that were sent.
CREATE TABLE IF NOT EXISTS sms (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  next_message INTEGER NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS sms_rule (
  position INTEGER PRIMARY KEY,
  destination TEXT,           -- null: every one
  refused INTEGER             -- sending fails with this code
) STRICT;

CREATE TABLE IF NOT EXISTS sms_step (
  position INTEGER PRIMARY KEY,
  rule INTEGER NOT NULL REFERENCES sms_rule (position),
  queries INTEGER NOT NULL,
  status0 INTEGER NOT NULL,
  status1 INTEGER NOT NULL,
  result INTEGER              -- the query fails with this code
) STRICT;

CREATE TABLE IF NOT EXISTS outbox (
  position INTEGER PRIMARY KEY,
  message INTEGER NOT NULL UNIQUE,
  sent_time INTEGER NOT NULL, -- a FILETIME
  destination TEXT NOT NULL,
  text TEXT NOT NULL,
  service_centre TEXT,        -- null: the phone's own
  options INTEGER NOT NULL,
  class INTEGER NOT NULL,
  replace_option INTEGER NOT NULL,
  encoding INTEGER NOT NULL,
  queries INTEGER NOT NULL
) STRICT;

-- The Bluetooth radio, its service records as SDP data elements.
CREATE TABLE IF NOT EXISTS bluetooth (
  id INTEGER PRIMARY KEY CHECK (id = 1),
  provider INTEGER NOT NULL,  -- 0 scripted, 1 the host system's
  mode INTEGER NOT NULL,
  takes_no_delay INTEGER NOT NULL
) STRICT;

CREATE TABLE IF NOT EXISTS bluetooth_taken_channel (
  channel INTEGER PRIMARY KEY
) STRICT;

CREATE TABLE IF NOT EXISTS bluetooth_record (
  handle INTEGER PRIMARY KEY,
  bytes BLOB NOT NULL
) STRICT;

-- Attributes that are not the usual ones. Names and paths of folders are folded; the root is empty.
CREATE TABLE IF NOT EXISTS file_attributes (
  folder TEXT NOT NULL,
  name TEXT NOT NULL,
  path TEXT NOT NULL,         -- as it was written
  attributes INTEGER NOT NULL,
  PRIMARY KEY (folder, name)
) STRICT;
