#!/usr/bin/env python3
"""Lists a folder of a catalogue and searches the catalogue, on Linux and on Windows.

Usage: example.py CATALOGUE-FOLDER [VOLUME-FOLDER [PATTERN]]

CATALOGUE-FOLDER contains summary.txt and the index data files that it names, as "oibidx scan"
writes them; VOLUME-FOLDER is, for example, C:\\docs.
"""

import os
import sys

import zorel_oibidx


def list_folder(library, data_file, folder):
    with library.BrowseOibDF(data_file) as browser:
        for name in browser.GetFolders(folder):
            print(f"{'folder':>12}  {name}")
        files = browser.GetFiles(folder)
        for file in files:
            print(f"{file.Size:12}  {file.ModifyTime:%Y-%m-%d %H:%M:%S}  {file.FileName}")
        print(f"{files.TotalSize:12}  bytes in {len(files)} files")


def find_files(library, catalogue, folder, pattern):
    with library.FindInOibBDF(catalogue) as task:
        task.Find({"rootPath": folder, "FileNamePattern": pattern})
        for file in task:
            print(f"{file.Size:12}  {file.FileFullName}  ({file.Owner})")


def main(catalogue, folder="C:", pattern="*"):
    summary = os.path.join(catalogue, "summary.txt")
    load = zorel_oibidx.EIdxMetaOpenMode.EIdxMetaLoad
    with zorel_oibidx.create_library() as library:
        with library.CreateMetaFile(summary, load) as volumes:
            for attribute in volumes.EnumAllAttrs():
                print(f"-- {attribute}, folder {folder}")
                data_file = os.path.join(catalogue, volumes.GetExistingAttr(attribute))
                list_folder(library, data_file, folder)
        print(f"-- {pattern} below {folder}")
        find_files(library, catalogue, folder, pattern)


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 4:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except zorel_oibidx.OibError as error:
        sys.exit(f"example.py: {error}")
