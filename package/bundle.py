#!/usr/bin/env python3
"""Packs the programs as an MCP bundle, and describes that for a registry.

    bundle.py FOLDER VERSION NAMESPACE DOWNLOADS LINUX [MACOS]

LINUX is the folder that `cmake --install` has filled, MACOS that of the programs for macOS. Writes
velmiro_mcp.mcpb and server.json into FOLDER. What the bundle says of the tools is what the server
itself says. Nothing in it depends on the time or the machine, so the same programs make the same file.
"""

import hashlib
import json
import os
import subprocess
import sys
import zipfile

ABOUT = "Your calendar, reminders, contacts, notes and mail, for an agent that asks before changes."
KINDS = "calendar,reminders,contacts,notes,mail"


def tools_of(server):
    """Returns the names and descriptions of the server's tools, in its order."""
    requests = [
        {"method": "initialize", "params": {
            "protocolVersion": "2025-06-18", "capabilities": {},
            "clientInfo": {"name": "bundle.py", "version": "1"}}},
        {"method": "tools/list", "params": {}},
    ]
    lines = [json.dumps({"jsonrpc": "2.0", "id": number, **request})
             for number, request in enumerate(requests)]
    answered = subprocess.run(
        [server], input="\n".join(lines) + "\n", capture_output=True, encoding="utf-8", check=True,
        env={"HOME": "/nonexistent"}, timeout=60)
    replies = {reply["id"]: reply for reply in map(json.loads, answered.stdout.splitlines())}
    return [{"name": tool["name"], "description": tool["description"]}
            for tool in replies[1]["result"]["tools"]]


def files_below(folder, inside):
    """Yields each program below a folder, as its path and its name in the bundle."""
    for place, folders, names in os.walk(folder):
        folders.sort()
        for name in sorted(names):
            path = os.path.join(place, name)
            yield path, inside + "/" + os.path.relpath(path, folder)


def manifest(version, tools, platforms):
    def command(platform):
        return "${__dirname}/" + platform + "/bin/velmiro_mcp"

    systems = {"macos": "darwin", "linux": "linux"}
    environment = {"VELMIRO_ENABLED": "${user_config.enabled}"}
    return {
        "manifest_version": "0.3",
        "name": "velmiro_mcp",
        "display_name": "Velmiro",
        "version": version,
        "description": ABOUT,
        "author": {"name": "Velmiro"},
        "server": {
            "type": "binary",
            "entry_point": platforms[0] + "/bin/velmiro_mcp",
            "mcp_config": {
                "command": command(platforms[0]),
                "args": [],
                "env": environment,
                "platform_overrides": {
                    systems[platform]: {"command": command(platform), "args": [], "env": environment}
                    for platform in platforms},
            },
        },
        "tools": tools,
        "compatibility": {"platforms": [systems[platform] for platform in platforms]},
        "user_config": {
            "enabled": {
                "type": "string",
                "title": "Kinds of data",
                "description": "What to offer, separated by commas: " + KINDS.replace(",", ", "),
                "default": KINDS,
                "required": False,
            },
        },
    }


def main():
    folder, version, namespace, downloads, linux, *macos = sys.argv[1:]
    # The server's version has two numbers; a semantic version has three.
    version += ".0" * (2 - version.count("."))
    contents = [("macos", path) for path in macos] + [("linux", linux)]
    platforms = [platform for platform, _ in contents]
    tools = tools_of(os.path.join(linux, "bin/velmiro_mcp"))
    bundle = os.path.join(folder, "velmiro_mcp.mcpb")
    with zipfile.ZipFile(bundle, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
        def add(name, data, mode):
            entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3  # the mode is Unix's
            entry.external_attr = (0o100000 | mode) << 16
            packed.writestr(entry, data)

        text = json.dumps(manifest(version, tools, platforms), indent=4, ensure_ascii=False)
        add("manifest.json", text.encode() + b"\n", 0o644)
        for platform, path in contents:
            for part in ("bin", "libexec"):
                for file, name in files_below(os.path.join(path, part), platform + "/" + part):
                    with open(file, "rb") as program:
                        add(name, program.read(), 0o755)
    with open(bundle, "rb") as packed:
        digest = hashlib.sha256(packed.read()).hexdigest()
    described = {
        "$schema": "https://static.modelcontextprotocol.io/schemas/2025-12-11/server.schema.json",
        "name": namespace + "/velmiro_mcp",
        "title": "Velmiro",
        "description": ABOUT,
        "version": version,
        "packages": [{
            "registryType": "mcpb",
            "identifier": downloads.rstrip("/") + "/velmiro_mcp.mcpb",
            "version": version,
            "fileSha256": digest,
            "transport": {"type": "stdio"},
            "environmentVariables": [{
                "name": "VELMIRO_ENABLED",
                "description": "The kinds of data to offer, separated by commas",
                "default": KINDS,
            }],
        }],
    }
    with open(os.path.join(folder, "server.json"), "w", encoding="utf-8") as file:
        json.dump(described, file, indent=4)
        file.write("\n")


main()
