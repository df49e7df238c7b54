"""Runs the cases of a module of unittest, and reports them as script/run_tests.py reads them."""

import sys
import unittest


class Result(unittest.TestResult):
    """Prints a line for each case, and why it failed."""

    passed = 0

    def tell(self, outcome, case, more=""):
        print(f"{outcome} {self.testsRun} - {case}{more}", flush=True)

    def addSuccess(self, test):
        self.passed += 1
        self.tell("ok", test)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self.tell("not ok", test)
        print("    " + self.failures[-1][1].replace("\n", "\n    "), flush=True)

    def addError(self, test, err):
        super().addError(test, err)
        self.tell("not ok", test)
        print("    " + self.errors[-1][1].replace("\n", "\n    "), flush=True)

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self.tell("ok", test, f" # SKIP {reason}")


def main():
    """Runs the cases of the main module, or those whose names contain an argument."""
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{name}*" for name in sys.argv[1:]] or None
    result = Result()
    loader.loadTestsFromModule(sys.modules["__main__"]).run(result)
    failed = len(result.failures) + len(result.errors)
    print(f"# pass {result.passed}\n# fail {failed}\n# cancelled 0\n# skipped {len(result.skipped)}")
    sys.exit(1 if failed or not result.testsRun else 0)
