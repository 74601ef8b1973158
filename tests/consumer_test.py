#!/usr/bin/env python3
"""Installs a build into a scratch folder and builds hosts against it in every way that customers do.

usage: consumer_test.py BUILD_DIR SOURCE_DIR CMAKE"""
import os
import subprocess
import sys
import tempfile

build, source, cmake = sys.argv[1:4]
WAYS = {"package": ("c",), "pkgconfig": ("c", "cpp"), "subdirectory": ("c", "cpp")}
GREETINGS = {"c": "Hello world from C\n", "cpp": "Hello\n-----\nworld\n"}


def run(*command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stdout}")
    return done.stdout


with tempfile.TemporaryDirectory() as scratch:
    prefix = os.path.join(scratch, "prefix")
    run(cmake, "--install", build, "--prefix", prefix, "--component", "runtime")
    run(cmake, "--install", build, "--prefix", prefix, "--component", "development")
    libraries = os.path.dirname(next(os.path.join(folder, "libcli_engine.a") for folder, _, files in os.walk(prefix)
                                     if "libcli_engine.a" in files))
    environment = dict(os.environ, LD_LIBRARY_PATH=libraries,
                       PKG_CONFIG_PATH=os.path.join(libraries, "pkgconfig"))
    for how, languages in WAYS.items():
        folder = os.path.join(scratch, how)
        run(cmake, "-S", os.path.join(source, "tests", "consumer"), "-B", folder, "-G", "Ninja", f"-DHOW={how}",
            f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCLI_ENGINE_SOURCE={source}", env=environment)
        run(cmake, "--build", folder, env=environment)
        for kind in ("shared", "static"):
            for language in languages:
                output = run(os.path.join(folder, f"host_{language}_{kind}"), os.path.join(folder, "libplugin.so"),
                             env=environment)
                for expected in (GREETINGS[language], "plugged in\n", "0."):
                    if expected not in output:
                        sys.exit(f"{how} {kind} {language}: {expected!r} is missing in\n{output}")
        print(how, *languages, "ok")
