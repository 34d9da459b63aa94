#!/usr/bin/env python3
"""Runs a suite through the protocol of `orvanta run --protocol` and answers its prompts.

    client.py [--answer TEXT=ANSWER]... -- orvanta run --protocol SUITE...

Each prompt whose text is TEXT gets ANSWER, which is JSON; any other is put to whoever sits here. Ends with the exit
code of the run.
"""

import argparse
import json
import subprocess
import sys


def ask(prompt):
    """Asks a person; an empty line takes what the prompt suggests."""
    hint = {"boolean": "true or false", "info": '"ok"', "integer": f"{prompt.get('min')} to {prompt.get('max')}"}
    print(f"? {prompt['text']} ({hint[prompt['kind']]})", file=sys.stderr)
    line = sys.stdin.readline()
    if not line:
        return "abort"
    suggested = {"boolean": True, "info": "ok", "integer": prompt.get("initial")}
    try:
        return json.loads(line) if line.strip() else suggested[prompt["kind"]]
    except ValueError:
        return line.strip()


def show(event):
    """What a person wants to see of a run."""
    kind = event["event"]
    if kind == "verdict" and event["test"]:
        print(f"{event['verdict']:8} {event['path']:12} {event['ms']:9.3f} ms  {event['reason']}")
    elif kind in ("headline", "abort"):
        print(event["text"])
    elif kind == "vanished":
        print(f"the run vanished at {event['path'] or 'no node'}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--answer", action="append", default=[], metavar="TEXT=ANSWER")
    parser.add_argument("command", nargs="+")
    options = parser.parse_args()
    answers = dict(pair.rsplit("=", 1) for pair in options.answer)
    run = subprocess.Popen(options.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, encoding="utf-8")
    prompt = None
    for line in run.stdout:
        event = json.loads(line)
        show(event)
        if event["event"] == "refused":
            print("refused:", event["reason"], file=sys.stderr)
        elif event["event"] == "prompt-open":
            prompt = event
        if event["event"] in ("prompt-open", "refused") and prompt:
            known = answers.pop(prompt["text"], None)  # once: what was refused is asked
            answer = json.loads(known) if known is not None else ask(prompt)
            run.stdin.write(json.dumps({"answer": answer, "id": prompt["id"]}) + "\n")
            run.stdin.flush()
    return run.wait()


if __name__ == "__main__":
    sys.exit(main())
