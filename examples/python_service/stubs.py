"""Makes the Python code of the contract in the folder `generated`, when it is missing or older than the contract."""

import importlib.util
import shutil
import subprocess
import sys
from pathlib import Path

import google.protobuf

HERE = Path(__file__).resolve().parent
GENERATED = HERE / "generated" / google.protobuf.__version__  # one version's code does not suit another
FOLDER = HERE.parent.parent / "proto"
CONTRACT = FOLDER / "tessra" / "v1" / "simulation.proto"


def compilers() -> list[list[str]]:
    """The commands that can do it here: the package grpcio-tools, or what Debian calls protobuf-compiler-grpc."""
    found = []
    if importlib.util.find_spec("grpc_tools"):
        found.append([sys.executable, "-m", "grpc_tools.protoc"])
    protoc, plugin = shutil.which("protoc"), shutil.which("grpc_python_plugin")
    if protoc and plugin:
        found.append([protoc, f"--plugin=protoc-gen-grpc_python={plugin}"])
    return found


def generate() -> None:
    """Tries the compilers in turn. Exits with a message if none succeeds."""
    GENERATED.mkdir(parents=True, exist_ok=True)
    outputs = [f"-I{FOLDER}", f"--python_out={GENERATED}", f"--grpc_python_out={GENERATED}", str(CONTRACT)]
    problem = "run: pip install grpcio grpcio-tools"
    for compiler in compilers():
        run = subprocess.run(compiler + outputs, capture_output=True, text=True)
        if run.returncode == 0:
            return
        problem = run.stderr.strip()
    sys.exit(f"cannot make the code of {CONTRACT}: {problem}")


made = GENERATED / "tessra" / "v1" / "simulation_pb2_grpc.py"
if not made.exists() or made.stat().st_mtime < CONTRACT.stat().st_mtime:
    generate()
sys.path.insert(0, str(GENERATED))
