"""The mutants of a C++ source: small changes, each of which a test should notice.

Kinds, after J. Offutt et al., An experimental determination of sufficient mutant operators, 1996: an operator replaced, a
constant changed, a statement removed, a condition forced, two arguments swapped. The generator reads text, not syntax; a
change that does not compile is no mutant and is not counted. It relies on the formatter: binary operators stand between
spaces, and references and pointers do not.
"""

import bisect
import re
from dataclasses import dataclass

OPERATORS = {
    ' < ': (' <= ', ' >= '), ' > ': (' >= ', ' <= '), ' <= ': (' < ', ' > '), ' >= ': (' > ', ' < '),
    ' == ': (' != ',), ' != ': (' == ',), ' && ': (' || ',), ' || ': (' && ',),
    ' + ': (' - ',), ' - ': (' + ',), ' * ': (' / ',), ' / ': (' * ',), ' % ': (' * ',),
    ' += ': (' -= ', ' = '), ' -= ': (' += ',), ' *= ': (' /= ', ' = '), ' /= ': (' *= ',),
    ' & ': (' | ',), ' | ': (' & ',), ' ^ ': (' | ',), ' |= ': (' &= ',), ' &= ': (' |= ',), ' ^= ': (' |= ',),
    ' << ': (' >> ',), ' >> ': (' << ',), ' <<= ': (' >>= ',), ' >>= ': (' <<= ',),
    '++': ('--',), '--': ('++',),
}
OPERATOR = re.compile('|'.join(re.escape(o) for o in sorted(OPERATORS, key=len, reverse=True)))
UNARY = re.compile(r'(?:(?<=[(\[{!])|(?<=[=?:,<>*/+&|] )|(?<=return ))[-!](?=[\w(])')
NUMBER = re.compile(r"(?<![\w.'])(?:0x[0-9a-fA-F']+(?:\.[0-9a-fA-F]*)?(?:p[+-]?\d+)?|\d[\d']*(?:\.\d*)?(?:e[+-]?\d+)?)"
                    r"[uUlLfF]*(?![\w.'])")
ARRAY = re.compile(r'[ \t]*(?:mutable |static |constexpr |inline |const )*[\w:<>]+ (?:const )?\w+(?:\[[^\]\n]*\])+(?=[;\s{])')
ANGLES = re.compile(r'[<>]')
BRACKETS = re.compile(r'[()\[\]{}]')
ONLY_TIME = re.compile(r'prefetch\w*\(|\bannounce\(|\.reserve\(')  # no result shows a change of these lines
BOOLEAN = re.compile(r'(?<![\w.])(?:true|false)(?!\w)')
CONDITION = re.compile(r'\b(if|while)(?: constexpr)? \(')
CHOICE = re.compile(r' \? ([\w.\[\]>-]+) : ([\w.\[\]>-]+)')
CALL = re.compile(r'(?<![\w])(?!(?:if|while|for|switch|catch|sizeof|decltype|noexcept|alignas|return|std::swap)\b)[\w:]+(?:<[\w:, ]*>)?\(')
BRACES = re.compile(r'(?:(?<=return )|(?<=[(,=] )|(?<=[(\w]))\{(?=[^{};\n]+\})')
STATEMENT_START = re.compile(r'(?:(?<=[;{}])\s*\n\s*|(?<=:)\s*\n\s*|(?<=\))\s*\n\s+|(?<=\)) |\belse )(?=[\w*(+-])')
NOT_REMOVED = re.compile(r'(?:return\s+[^;]|using|namespace|class|struct|enum|template|typedef|static|constexpr|inline|friend|'
                         r'public|private|protected|case|default|goto|else|if|for|while|do|switch|try|catch|extern|explicit|'
                         r'virtual|const\b|override|noexcept|=|SINEW_\w+|assert|static_assert|~)')
DECLARATION = re.compile(r'(?!delete\b|throw\b|return\b)[\w:]+(?:<[^;=]*>)?(?:\s+const)?\s*[&*]*\s+[&*]*(?:\w+\s*[=({;\[,]|\[)')
PARAMETER = re.compile(r'\s*(?:[\w:]+(?:<.*>)? const|[\w:]+(?:<.*>)?\s*[&*]*\s+\w+\s*(?:=.*)?$|.*\bconst[&*])')


@dataclass(frozen=True)
class Mutant:
    file: str
    start: int
    end: int
    replacement: str
    kind: str
    line: int  # from 1
    old: str  # the lines concerned
    new: str

    @property
    def key(self):
        """What names the mutant in lists: it survives changes elsewhere in the file."""
        return self.file + '\n' + squeezed(self.old) + '\n' + squeezed(self.new)


def squeezed(text):
    return ' '.join(text.split())


def blanked(text):
    """The text with comments, literals of text and preprocessor lines replaced by blanks of the same length."""
    def blank(match):
        return re.sub(r'[^\n]', ' ', match.group())
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])*\'|'
                         r'^[ \t]*#(?:\\\n|[^\n])*', re.S | re.M)
    text = pattern.sub(blank, text)
    for start in [m for m in re.finditer(r'\b(?:static_)?assert\(|\b(?:template|operator)\s*<', text)]:
        end = closing(text, start.end() - 1)
        text = text[:start.start()] + re.sub(r'[^\n]', ' ', text[start.start():end + 1]) + text[end + 1:]
    return text


def closing(text, at):
    """The position of the bracket that closes the one at `at`."""
    pairs = {'(': ')', '[': ']', '{': '}', '<': '>'}
    stack = []
    for bracket in (ANGLES if text[at] == '<' else BRACKETS).finditer(text, at):
        character = bracket.group()
        if character in pairs:
            stack.append(pairs[character])
        elif not stack or stack.pop() != character or not stack:
            return bracket.start()
    return len(text) - 1


def operator_changes(code):
    for m in OPERATOR.finditer(code):
        for new in OPERATORS[m.group()]:
            yield m.start(), m.end(), new, 'operator'
    for m in UNARY.finditer(code):
        yield m.start(), m.end(), '', 'operator'


def changed_numbers(word):
    digits = word.rstrip('uUlLfF') if not word.startswith('0x') else word.rstrip('uUlL')
    is_real = 'p' in digits if digits.startswith('0x') else any(c in digits for c in '.e')
    if is_real:
        return ['1.0' if float.fromhex(digits) == 0 else '0.0'] if digits.startswith('0x') else \
            (['1.0'] if float(digits.replace("'", '')) == 0 else [f'(2 * {word})', '0.0'])
    value = int(digits.replace("'", ''), 0)
    return [f'({word} + 1)'] + ([f'({word} - 1)'] if value > 0 else [])


def constant_changes(code):
    # The size of a member changes the layout of its class, and not all objects are compiled again.
    sizes = [m.span() for m in re.finditer('^' + ARRAY.pattern, code, re.M)]
    for m in NUMBER.finditer(code):
        if any(a <= m.start() < b for a, b in sizes):
            continue
        for new in changed_numbers(m.group()):
            yield m.start(), m.end(), new, 'constant'
    for m in BOOLEAN.finditer(code):
        yield m.start(), m.end(), 'false' if m.group() == 'true' else 'true', 'constant'


def condition_changes(code):
    for m in CONDITION.finditer(code):
        end = closing(code, m.end() - 1)
        yield m.end(), end, 'false', 'condition'
        if m.group(1) == 'if':
            yield m.end(), end, 'true', 'condition'
    for m in CHOICE.finditer(code):
        if m.group(1) != m.group(2):
            yield m.start(), m.end(), f' ? {m.group(2)} : {m.group(1)}', 'condition'


def statement_end(code, at):
    """The end of the simple statement that starts at `at`, or None if it is something else."""
    i = at
    while i < len(code):
        if code[i] in '([{':
            i = closing(code, i)
            if code[i] == '}' and code[i + 1:i + 2] not in (';', ')', ',', '.', '[', '('):
                return None
        elif code[i] in ')]}':
            return None
        elif code[i] == ';':
            return i + 1
        i += 1
    return None


def follows_control(code, at):
    """Whether the bracket that closes before `at` belongs to an if or a loop; otherwise an expression goes on."""
    depth = 0
    for i in range(at - 1, -1, -1):
        depth += (code[i] == ')') - (code[i] == '(')
        if code[i] == '(' and depth == 0:
            return re.search(r'\b(?:if|if constexpr|while|for) $', code[max(0, i - 16):i]) is not None
    return False


def statement_changes(code):
    for m in STATEMENT_START.finditer(code):
        start = m.end()
        if code[max(0, start - 200):start].rstrip().endswith(')') and not follows_control(code, start):
            continue
        if NOT_REMOVED.match(code, start) or DECLARATION.match(code, start):
            continue
        end = statement_end(code, start)
        if end and end - start < 400:
            yield start, end, ';', 'statement'


def arguments(code, start, end):
    """The ranges of the arguments between two brackets."""
    result, first, i = [], start, start
    while i < end:
        if code[i] in '([{':
            i = closing(code, i)
        elif code[i] == '<' and i > 0 and code[i - 1] != ' ':
            i = closing(code, i)
        elif code[i] == ',':
            result.append((first, i))
            first = i + 1
        i += 1
    result.append((first, end))
    return result


def argument_changes(code, text):
    for m in list(CALL.finditer(code)) + list(BRACES.finditer(code)):
        end = closing(code, m.end() - 1)
        ranges = arguments(code, m.end(), end)
        if any(PARAMETER.match(code[a:b]) for a, b in ranges):
            continue
        for (a, b), (c, d) in zip(ranges, ranges[1:]):
            one, two = text[a:b].strip(), text[c:d].strip()
            if one and two and one != two and d - a < 200:
                lead = text[a:b][:len(text[a:b]) - len(text[a:b].lstrip())]
                gap = text[c:d][:len(text[c:d]) - len(text[c:d].lstrip())]
                yield a, d, f'{lead}{two},{gap}{one}', 'arguments'


def mutants_of(file, text):
    """All mutants of a source, in the order of their positions."""
    code = blanked(text)
    changes = [*operator_changes(code), *constant_changes(code), *condition_changes(code), *statement_changes(code),
               *argument_changes(code, text)]
    ends = [m.start() for m in re.finditer('\n', text)]
    result = {}
    for start, end, replacement, kind in changes:
        first = text.rfind('\n', 0, start) + 1
        last = text.find('\n', end)
        last = len(text) if last < 0 else last
        old = text[first:last]
        new = text[first:start] + replacement + text[end:last]
        mutant = Mutant(file, start, end, replacement, kind, bisect.bisect_left(ends, start) + 1, old, new)
        if squeezed(old) != squeezed(new) and not ONLY_TIME.search(old):
            result.setdefault((mutant.start, mutant.end, mutant.replacement), mutant)
    return sorted(result.values(), key=lambda m: (m.start, m.end, m.replacement))
