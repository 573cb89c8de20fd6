#!/usr/bin/python3
"""Makes the seed corpus of IndexFuzzer from the index of its own recording.

    fuzz/make_index_seeds.py BUILD/fuzz/IndexFuzzer fuzz/seeds-IndexFuzzer

The fuzzer writes the index of the recording it pairs its inputs with
(KRD_FUZZ_WRITE_INDEX); this script stores it as valid.krq and derives the
hostile variants from it: garbage, values of the wrong types, rows whose
offsets, times or IDs point nowhere or overlap, extra and missing columns
and tables, triggers, views and virtual tables in the schema. Most start
from a copy with 512-byte pages, which keeps the inputs small. Inputs the
fuzzer found are kept beside these under names of their own; this script
only replaces the files it makes.
"""

import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile

# The library's tables and, per table, its columns by role.
OFFSET_TABLES = ["channel", "channel_group", "data", "device", "device_attributes", "event",
                 "event_source", "physical_channel", "physical_channel_attr", "post_process"]
ID_COLUMNS = {  # columns that name another row
    "channel": ["channel_group_id", "physical_channel_id"],
    "data": ["channel_group_id"],
    "device": ["parent_id"],
    "device_attributes": ["device_id"],
    "event": ["event_source_id"],
    "event_source": ["physical_channel_id"],
    "physical_channel": ["device_id"],
    "physical_channel_attr": ["physical_channel_id"],
    "post_process": ["channel_id"],
}
INT64_MIN, INT64_MAX = -(1 << 63), (1 << 63) - 1


def columns(db, table):
    return [(row[1], row[2]) for row in db.execute(f"PRAGMA table_info({table})")]


def value_columns(db, table):
    """The columns apart from a row id, which only takes integers."""
    rows = list(db.execute(f"PRAGMA table_info({table})"))
    keys = [row for row in rows if row[5] > 0]
    row_id = keys[0][1] if len(keys) == 1 and keys[0][2] == "INTEGER" else None
    return [(row[1], row[2]) for row in rows if row[1] != row_id]


def tables(db):
    return [row[0] for row in db.execute(
        "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")]


def recreate(db, table, definitions, select):
    """Replaces table by one with the given column definitions, filled by
    select over the old rows (named old)."""
    db.execute(f"ALTER TABLE {table} RENAME TO old")
    db.execute(f"CREATE TABLE {table} ({definitions})")
    db.execute(f"INSERT INTO {table} SELECT {select} FROM old")
    db.execute("DROP TABLE old")


# Variants: each changes an open copy of the small-page index. -------------

def wrong_types_text(db):
    for table in tables(db):
        for name, kind in value_columns(db, table):
            if kind == "INTEGER":
                db.execute(f"UPDATE {table} SET {name} = 'n' || {name}")


def wrong_types_real(db):
    for table in tables(db):
        for name, kind in value_columns(db, table):
            if kind == "INTEGER":
                db.execute(f"UPDATE {table} SET {name} = {name} + 0.5")


def wrong_types_blob(db):
    for table in tables(db):
        for name, kind in value_columns(db, table):
            if kind == "TEXT":
                db.execute(f"UPDATE {table} SET {name} = x'00ff80c0feff'")
            elif kind == "BLOB":
                db.execute(f"UPDATE {table} SET {name} = 'text ' || rowid")
            else:
                db.execute(f"UPDATE OR IGNORE {table} SET {name} = zeroblob(9) WHERE rowid % 2 = 0")


def wrong_types_null(db):
    for table in tables(db):
        for name, _ in value_columns(db, table):
            db.execute(f"UPDATE OR IGNORE {table} SET {name} = NULL")


def out_of_range(db):
    values = [70000, -1, 1 << 33, INT64_MAX, INT64_MIN]
    for table in tables(db):
        for place, (name, kind) in enumerate(columns(db, table)):
            if kind == "INTEGER":
                value = values[place % len(values)]
                db.execute(f"UPDATE OR IGNORE {table} SET {name} = ?", (value,))


def offsets_nowhere(db):
    for place, table in enumerate(OFFSET_TABLES):
        value = [1 << 20, -5, 1 << 62, 7, INT64_MAX][place % 5]
        db.execute(f"UPDATE {table} SET offset = ?", (value,))
    db.execute("UPDATE file_information SET start_packet_offset = 1 << 40, "
               "annotation_offset = -1")


def offsets_crossed(db):
    # Every row points at a packet of another kind, and all blocks at one.
    data = [row[0] for row in db.execute("SELECT offset FROM data ORDER BY offset")]
    events = [row[0] for row in db.execute("SELECT offset FROM event")]
    for table in OFFSET_TABLES:
        if table != "data":
            db.execute(f"UPDATE {table} SET offset = ?", (data[-1],))
    db.execute("UPDATE data SET offset = ?", (events[0],))
    db.execute("UPDATE file_information SET start_packet_offset = 0, annotation_offset = ?",
               (data[0],))


def times_wild(db):
    db.execute("UPDATE data SET start_time_offset = end_time_offset, "
               "end_time_offset = start_time_offset WHERE rowid % 2 = 1")
    db.execute("UPDATE data SET start_time_offset = ?, end_time_offset = ? WHERE rowid % 3 = 0",
               (INT64_MIN, INT64_MAX))
    db.execute("UPDATE event SET event_time = ? WHERE event_id % 2 = 0", (INT64_MAX,))
    db.execute("UPDATE event SET event_time = ? WHERE event_id % 2 = 1", (INT64_MIN,))


def blocks_overlap(db):
    # Many rows for one block, at times that overlap each other and it.
    block = db.execute("SELECT * FROM data ORDER BY rowid LIMIT 1").fetchone()
    for shift in range(1, 300):
        db.execute("INSERT OR IGNORE INTO data VALUES (?, ?, ?, ?)",
                   (block[0], block[1] + shift, block[2] + 3 * shift, block[3]))


def ids_nowhere(db):
    for table, names in ID_COLUMNS.items():
        for name in names:
            db.execute(f"UPDATE OR IGNORE {table} SET {name} = 999 WHERE rowid % 2 = 1")


def device_cycle(db):
    devices = [row[0] for row in db.execute("SELECT device_id FROM device ORDER BY device_id")]
    for child, parent in zip(devices, devices[1:] + devices[:1]):
        db.execute("UPDATE device SET parent_id = ? WHERE device_id = ?", (parent, child))


def layout_wild(db):
    db.execute("UPDATE channel_group SET channel_count = 0, time_base_divisor = 0 "
               "WHERE rowid = 1")
    db.execute("UPDATE channel_group SET channel_count = 255, data_type = 77 WHERE rowid = 2")
    db.execute("UPDATE channel SET interleav_index = 200 WHERE rowid % 2 = 0")
    db.execute("UPDATE post_process SET post_process_index = 255")


def duplicate_keys(db):
    # Keys the library takes as unique, twice: tables rebuilt without them.
    for table in ["channel", "channel_group", "event", "post_process"]:
        definitions = ", ".join(f"{name} {kind}" for name, kind in columns(db, table))
        recreate(db, table, definitions, "*")
        db.execute(f"INSERT INTO {table} SELECT * FROM {table}")


def extra_column_first(db):
    for table in ["channel", "data", "event", "file_information"]:
        definitions = ", ".join(f"{name} {kind}" for name, kind in columns(db, table))
        recreate(db, table, "extra BLOB, " + definitions, "x'ffff', *")


def extra_column_last(db):
    for table in ["channel_group", "device", "post_process"]:
        db.execute(f"ALTER TABLE {table} ADD COLUMN extra TEXT DEFAULT 'more'")


def missing_columns(db):
    for table, dropped in [("channel", "label"), ("data", "offset"),
                           ("file_information", "uuid"), ("event", "data")]:
        kept = [(name, kind) for name, kind in columns(db, table) if name != dropped]
        recreate(db, table, ", ".join(f"{n} {k}" for n, k in kept),
                 ", ".join(name for name, _ in kept))


def missing_tables(db):
    for table in ["data", "event", "post_process", "device_attributes"]:
        db.execute(f"DROP TABLE {table}")


def triggers(db):
    db.execute("CREATE TRIGGER t1 AFTER INSERT ON device BEGIN DELETE FROM channel; END")
    db.execute("CREATE TRIGGER t2 BEFORE UPDATE ON file_information "
               "BEGIN SELECT RAISE(ABORT, 'refused'); END")
    db.execute("CREATE TRIGGER t3 AFTER DELETE ON channel BEGIN "
               "INSERT INTO data VALUES (old.channel_group_id, 1, 2, 3); END")
    db.execute("CREATE TRIGGER t4 AFTER INSERT ON event BEGIN "
               "UPDATE data SET offset = new.offset; END")


def view_for_table(db):
    for table in ["channel_group", "event_source"]:
        db.execute(f"ALTER TABLE {table} RENAME TO real_{table}")
        db.execute(f"CREATE VIEW {table} AS SELECT * FROM real_{table}")


def virtual_tables(db):
    db.execute("DROP TABLE event")
    db.execute("CREATE VIRTUAL TABLE event USING fts5(event_id, event_source_id, event_time, "
               "data, offset)")
    db.execute("INSERT INTO event VALUES (1, 1, 5, x'01', 5)")
    db.execute("DROP TABLE data")
    db.execute("CREATE VIRTUAL TABLE data USING rtree(channel_group_id, start_time_offset, "
               "end_time_offset, offset, spare)")
    db.execute("INSERT INTO data VALUES (1, 0, 70, 100, 200)")


def malformed_schema(db):
    db.execute("PRAGMA writable_schema = ON")
    db.execute("UPDATE sqlite_master SET sql = 'CREATE TABLE channel (channel_id INTEGER' "
               "WHERE name = 'channel'")


# Schemas that make today's library hang or allocate hundreds of megabytes
# from a file of ten kilobytes: SQL that runs when the library reads or
# writes a table. Named after what they show.
ENDLESS = "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c)"
HUGE_TEXT = "printf('%.*c', 300000000, 'x')"


def hang_view_endless_recursion(db):
    db.execute("ALTER TABLE channel_group RENAME TO real_channel_group")
    db.execute(f"CREATE VIEW channel_group AS {ENDLESS} SELECT real_channel_group.* "
               "FROM real_channel_group, c")


def hang_trigger_endless_recursion(db):
    db.execute(f"CREATE TRIGGER t AFTER INSERT ON device BEGIN "
               f"SELECT count(*) FROM ({ENDLESS} SELECT x FROM c); END")


def alloc_view_huge_label(db):
    db.execute("ALTER TABLE channel RENAME TO real_channel")
    db.execute("CREATE VIEW channel AS SELECT channel_id, channel_group_id, physical_channel_id, "
               "interleav_index, disabled, zeroblob(300000000) AS label, offset FROM real_channel")


def alloc_check_constraint(db):
    definitions = ", ".join(f"{name} {kind}" for name, kind in columns(db, "event"))
    recreate(db, "event", f"{definitions}, CHECK (length({HUGE_TEXT}) > 0)", "*")


def alloc_generated_column(db):
    names = [name for name, _ in columns(db, "device")]
    recreate(db, "device", "device_id INTEGER PRIMARY KEY, parent_id INTEGER, "
             f"label TEXT GENERATED ALWAYS AS ({HUGE_TEXT}) VIRTUAL, offset INTEGER",
             ", ".join(name for name in names if name != "label"))


def alloc_expression_index(db):
    db.execute(f"CREATE INDEX huge ON physical_channel(length({HUGE_TEXT}) + channel_number)")


VARIANTS = {
    "wrong-types-text": wrong_types_text,
    "wrong-types-real": wrong_types_real,
    "wrong-types-blob": wrong_types_blob,
    "wrong-types-null": wrong_types_null,
    "out-of-range": out_of_range,
    "offsets-nowhere": offsets_nowhere,
    "offsets-crossed": offsets_crossed,
    "times-wild": times_wild,
    "blocks-overlap": blocks_overlap,
    "ids-nowhere": ids_nowhere,
    "device-cycle": device_cycle,
    "layout-wild": layout_wild,
    "duplicate-keys": duplicate_keys,
    "extra-column-first": extra_column_first,
    "extra-column-last": extra_column_last,
    "missing-columns": missing_columns,
    "missing-tables": missing_tables,
    "triggers": triggers,
    "view-for-table": view_for_table,
    "virtual-tables": virtual_tables,
    "malformed-schema": malformed_schema,
    "hang-view-endless-recursion": hang_view_endless_recursion,
    "hang-trigger-endless-recursion": hang_trigger_endless_recursion,
    "alloc-view-huge-label": alloc_view_huge_label,
    "alloc-check-constraint": alloc_check_constraint,
    "alloc-generated-column": alloc_generated_column,
    "alloc-expression-index": alloc_expression_index,
}


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)


def changed_copy(source, work, change, journal_mode="WAL"):
    """The bytes of a copy of source after change, closed in journal_mode."""
    path = os.path.join(work, "variant.krq")
    for suffix in ["", "-wal", "-shm", "-journal"]:
        if os.path.exists(path + suffix):
            os.remove(path + suffix)
    shutil.copyfile(source, path)
    db = sqlite3.connect(path, isolation_level=None)
    change(db)
    db.execute(f"PRAGMA journal_mode = {journal_mode}")
    db.close()
    return read(path)


def small_pages(db):
    db.execute("PRAGMA journal_mode = DELETE")
    db.execute("PRAGMA page_size = 512")
    db.execute("VACUUM")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    fuzzer, seeds = sys.argv[1], sys.argv[2]
    os.makedirs(seeds, exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        valid = os.path.join(work, "valid.krq")
        environment = dict(os.environ, KRD_FUZZ_WRITE_INDEX=valid)
        subprocess.run([fuzzer, "-runs=0"], env=environment, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        write(os.path.join(seeds, "valid.krq"), read(valid))

        small = os.path.join(work, "small.krq")
        write(small, changed_copy(valid, work, small_pages))
        write(os.path.join(seeds, "small-pages.krq"), read(small))
        write(os.path.join(seeds, "rollback-journal.krq"),
              changed_copy(small, work, lambda db: None, journal_mode="DELETE"))
        write(os.path.join(seeds, "truncated.krq"), read(small)[:len(read(small)) // 2])
        write(os.path.join(seeds, "garbage.krq"),
              random.Random(1).randbytes(4096))
        write(os.path.join(seeds, "header-then-garbage.krq"),
              read(small)[:100] + random.Random(2).randbytes(1948))
        for name, change in VARIANTS.items():
            write(os.path.join(seeds, name + ".krq"), changed_copy(small, work, change))


if __name__ == "__main__":
    main()
