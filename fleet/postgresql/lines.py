"""Prepares NDJSON for COPY: a row for each line, with the file's name and the line's number.

lines.py FILE    ("-" is standard input)
"""

import sys

LONGEST = 64 * 1024 * 1024  # what PostgreSQL takes as one text, with room to spare


def rows(lines):
    """Number, text and fault of each line that is not blank."""
    for number, line in enumerate(lines, 1):
        line = line.rstrip(b"\r\n")
        if not line or line.isspace():
            continue
        fault = "\\N"
        if b"\0" in line or len(line) > LONGEST:
            fault = "a zero byte" if b"\0" in line else "longer than 64 MiB"
            line = line[:LONGEST].replace(b"\0", b"\\0")
        if not line.isascii():
            try:
                line.decode()
            except UnicodeDecodeError as error:
                fault = f"not UTF-8 at byte {error.start + 1}"
                line = line.decode(errors="backslashreplace").encode()
        line = line.replace(b"\\", b"\\\\").replace(b"\t", b"\\t").replace(b"\r", b"\\r")
        yield number, line, fault


def main(path):
    name = path.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")
    name = name.encode(errors="replace")
    write = sys.stdout.buffer.write
    with open(0 if path == "-" else path, "rb") as lines:
        for number, line, fault in rows(lines):
            write(b"%b\t%d\t%b\t%b\n" % (name, number, line, fault.encode()))


try:
    main(sys.argv[1])
except OSError as error:
    sys.exit(f"load: {error.filename or 'the database'}: {error.strerror}")
