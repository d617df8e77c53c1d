"""Takes the jobs that use the image from a page: ci_page.py PAGE FOLDER writes a folder for each, with its script, its
user, the reports that it uploads, and the page's test. Every block of YAML must be a job that uploads its reports."""

import re
import sys
from pathlib import Path

import yaml

SYSTEMS = {"github", "gitlab"}


def read(block):
    """The system of a block, its image, the user in it, its commands and the reports that it uploads."""
    (job,) = block.get("jobs", block).values()
    if "jobs" not in block:
        commands = job.get("before_script", []) + job["script"]
        return "gitlab", job["image"], "", commands, job["artifacts"]["reports"]["junit"]
    container, steps = job["container"], job["steps"]
    options = container.get("options", "") if isinstance(container, dict) else ""
    (upload,) = [step for step in steps if step.get("uses", "").startswith("actions/upload-artifact@")]
    assert upload["if"] == "always()", "a failed job uploads no report"
    return (
        "github",
        container["image"] if isinstance(container, dict) else container,
        "0:0" if "--user root" in options else "",
        [step["run"] for step in steps if "run" in step],
        upload["with"]["path"],
    )


page, folder = Path(sys.argv[1]).read_text(), Path(sys.argv[2])
(test,) = re.findall(r"^```python\n(.*?)^```$", page, re.M | re.S)
seen = []
for text in re.findall(r"^```yaml\n(.*?)^```$", page, re.M | re.S):
    system, image, user, commands, report = read(yaml.safe_load(text))
    seen.append((system, "vesk-video" in image))
    if "vesk-video" in image:
        job = folder / system
        job.mkdir(parents=True)
        (job / "script").write_text("\n".join(commands) + "\n")
        (job / "user").write_text(user)
        (job / "reports").write_text(report + "\n")
        (job / "test_page.py").write_text(test)
assert sorted(seen) == [(system, of_image) for system in sorted(SYSTEMS) for of_image in (False, True)], seen
