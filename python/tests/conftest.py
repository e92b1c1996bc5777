"""Moulds, and the program, whose figures the package's have to equal to the last bit."""

import json
import os
import pathlib
import subprocess

import pytest

import drape

SAMPLES = pathlib.Path(os.environ["DRAPE_SAMPLES"])
PROGRAM = os.environ["DRAPE"]


@pytest.fixture(scope="session")
def dome():
    return drape.Mould.read(SAMPLES / "double_dome.obj")


@pytest.fixture
def program(tmp_path):
    """program(sample, *options, outputs=[name, ...]): the report and the bytes of each output."""

    def run(sample, *options, outputs=(), by=PROGRAM):
        files = [tmp_path / name for name in ("report.json", *outputs)]
        wanted = [word for file in files for word in ("-o", str(file))]
        command = [by, str(SAMPLES / sample), "--quiet", *options, *wanted]
        subprocess.run(command, check=False, capture_output=True)
        return json.loads(files[0].read_text()), [file.read_bytes() for file in files[1:]]

    return run
