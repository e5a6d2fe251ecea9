#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints a test for each class that has a skeleton with fields, for SkeletonTest.cpp: the place of
each field in the class against its place in the skeleton.

usage: layout_tests.py SKELETONS
"""
import pathlib
import sys

from check_headers import skeletons

# Skeletons that do not have the name of their only class.
CLASSES = {
    "AutoAlert": ["AudioAlert::AutoAlert"],
    "AutoLock": [],  # its field is a reference, which has no member pointer
    "Setting": ["ClientVolumeSetting", "ClientAppSetting", "ClientMixerSetting",
                "ClientVersionSetting", "ClientAudioRecordControl"],
}

TEST = """\
template struct Look<{name}, {members}>;
TEST({test}Layout, IsThatOfItsListedFields) {{
    expectLayout<{name}, {skeleton}>({fields});
}}
"""


def main():
    for skeleton, fields in skeletons(pathlib.Path(sys.argv[1])).items():
        for name in CLASSES.get(skeleton, [skeleton]) if fields else []:
            print(TEST.format(
                name=name, test=name.split("::")[-1], skeleton=skeleton + "Skeleton",
                members=", ".join(f"&{name}::{field}" for field in fields),
                fields=", ".join(f"&{skeleton}Skeleton::{field}" for field in fields)))


main()
