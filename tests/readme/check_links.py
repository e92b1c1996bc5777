"""Every file that the documents point to must be there."""
import pathlib
import re
import sys


def main():
    root = pathlib.Path(sys.argv[1])
    missing = []
    for document in [*root.glob("*.md"), *root.glob("docs/*.md"), *root.glob("samples/*.md")]:
        for target in re.findall(r"\]\(([^)#\s]+)[^)]*\)", document.read_text()):
            if "://" not in target and not (document.parent / target).exists():
                missing.append(f"{document.relative_to(root)}: {target}")
    print("\n".join(missing) or "all there")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
