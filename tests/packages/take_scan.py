"""Takes one A4 page at 150 dpi from a scanner and writes it to standard output.

Usage: take_scan.py ADDRESS     as `korvcam serve` prints it
"""

import sys
import urllib.request

from scanner import settings

address = sys.argv[1]
request = urllib.request.Request(address + "/ScanJobs", settings(dpi=150).encode(),
                                 {"Content-Type": "text/xml"})
with urllib.request.urlopen(request, timeout=60) as answer:
    job = answer.headers["Location"].rpartition("/")[2]
with urllib.request.urlopen(f"{address}/ScanJobs/{job}/NextDocument", timeout=60) as answer:
    sys.stdout.buffer.write(answer.read())
