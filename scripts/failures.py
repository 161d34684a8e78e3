#!/usr/bin/env python3
"""Prints the failed tests of a JUnit report of CTest: the name of each, and the end of what it printed.

  failures.py REPORT
"""
import sys
import xml.etree.ElementTree

LINES = 40

for case in xml.etree.ElementTree.parse(sys.argv[1]).iter("testcase"):
    failure = case.find("failure")
    if failure is None:
        continue
    print(f"== failed: {case.get('name')} ({failure.get('message') or 'no reason given'}, {float(case.get('time', 0)):.0f} s)")
    print("\n".join((case.findtext("system-out") or "").splitlines()[-LINES:]))
