#!/usr/bin/env python3
"""Installs a build into a scratch folder and builds against it in every way that customers do: hosts, the projects that
the README shows, a copy of the router example.

usage: consumer_test.py BUILD_DIR SOURCE_DIR CMAKE"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

build, source, cmake = sys.argv[1:4]
WAYS = {"package": ("c",), "pkgconfig": ("c", "cpp")}
GREETINGS = {"c": "Hello world from C\n", "cpp": "Hello\n-----\nworld\n"}


def run(*command, **options):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stdout}")
    return done.stdout


def expect(what, output, *texts):
    for text in texts:
        if text not in output:
            sys.exit(f"{what}: {text!r} is missing in\n{output}")


def make(project, folder, *options):
    run(cmake, "-S", project, "-B", folder, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}", *options, env=environment)
    run(cmake, "--build", folder, env=environment)


def write(folder, name, text):
    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
        file.write(text)


with tempfile.TemporaryDirectory() as scratch:
    prefix = os.path.join(scratch, "prefix")
    run(cmake, "--install", build, "--prefix", prefix)
    libraries = os.path.dirname(next(os.path.join(folder, "libcli_engine.a") for folder, _, files in os.walk(prefix)
                                     if "libcli_engine.a" in files))
    environment = dict(os.environ, LD_LIBRARY_PATH=libraries, XDG_STATE_HOME=scratch,
                       PKG_CONFIG_PATH=os.path.join(libraries, "pkgconfig"))
    for how, languages in WAYS.items():
        folder = os.path.join(scratch, how)
        make(os.path.join(source, "tests", "consumer"), folder, f"-DHOW={how}")
        for kind in ("shared", "static"):
            for language in languages:
                output = run(os.path.join(folder, f"host_{language}_{kind}"), os.path.join(folder, "libplugin.so"),
                             env=environment)
                expect(f"{how} {kind} {language}", output, GREETINGS[language], "plugged in\n", "0.")

    with open(os.path.join(source, "README.md"), encoding="utf-8") as file:
        readme = file.read()
    projects = re.findall(r"^```cmake\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)
    expect("README.md", " ".join(projects), "find_package", "FetchContent_MakeAvailable")
    for number, project in enumerate(projects):
        folder = os.path.join(scratch, f"project {number}")
        os.mkdir(folder)
        write(folder, "CMakeLists.txt", project)
        write(folder, "host.c", re.search(r"^```c\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)[1])
        write(folder, "hello.json", re.search(r"^```json hello.json\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL)[1])
        make(folder, os.path.join(folder, "build"), f"-DFETCHCONTENT_SOURCE_DIR_CLI_ENGINE={source}")
        output = run(os.path.join(folder, "build", "host"), cwd=folder, input="hello world\n", env=environment)
        expect(f"the README's project {number}", output, "Hello, world!")

    shell = os.path.join(prefix, "bin", "cli-shell")
    if os.path.exists(shell):  # it needs no help to find its library
        del environment["LD_LIBRARY_PATH"]
        router = os.path.join(scratch, "copied")
        shutil.copytree(os.path.join(source, "examples", "router"), router)
        make(router, os.path.join(router, "build"))
        output = run(shell, "--handlers", os.path.join(router, "build", "router_handlers.so"),
                     "--privileges", os.path.join(router, "privileges.json"), os.path.join(router, "router.json"),
                     "-c", "show version", env=environment)
        expect("a copy of the example", output, "Kernel")

        environment.update(PATH=f"{prefix}/bin:{os.environ['PATH']}", CMAKE_PREFIX_PATH=prefix, CMAKE_GENERATOR="Ninja",
                           CLI_ENGINE_LIBRARY=os.path.join(libraries, "libcli_engine.so"),
                           PYTHONPATH=os.path.join(prefix, "lib", "python3", "dist-packages"))
        for language, name in {"c": "lamp", "c++": "fan", "python": "pump"}.items():
            said = run(shell, "new", "--language", language, name, cwd=scratch)
            output = run("sh", "-ec", said[said.index("  cd "):], cwd=scratch, env=environment,
                         input="port 2\nspeed 1000\nsh po\n")
            expect(f"what is new in {language}", output, "\n2     1000")
