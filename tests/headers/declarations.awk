# Lists the declarations of the layer's headers, one C++ macro call of table.h per line. Reads them with comments
# removed and every ";", "{" and "}" on a line of its own.

function lastName(text)
{
    sub(/\[.*/, "", text)
    sub(/[ \t]+$/, "", text)
    sub(/.*[^A-Za-z0-9_]/, "", text)
    return text
}

function functionName(text)
{
    sub(/\(.*/, "", text)
    return lastName(text)
}

function functionPointerName(text)
{
    sub(/\) *\(.*/, "", text)
    return lastName(text)
}

function listEnumerators(text, count, values, i)
{
    count = split(text, values, ",")
    for (i = 1; i <= count; ++i) {
        sub(/=.*/, "", values[i])
        if (lastName(values[i]) != "")
            print "CONSTANT(" lastName(values[i]) ")"
    }
}

function listStructure(declarators, i)
{
    sub(/,.*/, "", declarators)
    if (lastName(declarators) != "")
        structure = lastName(declarators)
    print "SIZE(" structure ")"
    for (i = 1; i <= memberCount; ++i)
        print memberKind[i] "(" structure ", " members[i] ")"
}

function listDeclaration(text)
{
    if (text ~ /^ *typedef.*\(/)
        print "TYPE(" functionPointerName(text) ")"
    else if (text ~ /^ *typedef/)
        print "TYPE(" lastName(text) ")"
    else if (text ~ /\(/)
        print "FUNCTION(" functionName(text) ")"
}

function addMember(text)
{
    ++memberCount
    memberKind[memberCount] = text ~ /^ *virtual / ? "METHOD" : "MEMBER"
    members[memberCount] = text ~ /^ *virtual / ? functionName(text) : lastName(text)
}

/^[ \t]*$/ { next }

BEGIN { split("0 0x12345 0x80070005", arguments) }

# Constants, and macros of one argument at some of its values; not what stands for a type or a piece of syntax.
/^#/ {
    if ($0 ~ /^#define [A-Za-z_0-9]+\([A-Za-z_0-9]+\)/) {
        for (i in arguments)
            print "CONSTANT(" functionName($2) "(" arguments[i] "))"
        next
    }
    if ($0 ~ /^#define [A-Za-z_0-9]+ +L?"/) {
        print "TEXT(" $2 ")"
        next
    }
    if ($0 ~ /^#define [A-Za-z_0-9]+ +[^ ]/ && $0 !~ /^#define [A-Za-z_0-9]+ +(const|extern|struct|virtual)/)
        print "CONSTANT(" $2 ")"
    next
}

# Members of a nameless union are their structure's own.
$0 == "{" && opened == "structure" {
    ++unions
    text = ""
    next
}

$0 == "{" {
    opened = ""
    if (text ~ /(^| )(struct|class) /) {
        opened = "structure"
        structure = text
        sub(/ *:.*/, "", structure)
        structure = lastName(structure)
        memberCount = 0
    } else if (text ~ /(^| )enum /) {
        opened = "enum"
    } else if (text ~ /\)[ a-z]*$/) {
        opened = "body"
        sub(/\(.*/, "", text)
        sub(/.* /, "", text)
        print "BODY(" text ")"
    }
    text = ""
    next
}

$0 == "}" && unions {
    --unions
    closed = "union"
    text = ""
    next
}

$0 == "}" {
    if (opened == "enum")
        listEnumerators(text)
    closed = opened == "body" ? "" : opened
    opened = text = ""
    next
}

$0 == ";" {
    if (opened == "structure" && closed == "")
        addMember(text)
    else if (closed == "structure")
        listStructure(text)
    else if (opened == "" && closed == "")
        listDeclaration(text)
    closed = text = ""
    next
}

{ text = text " " $0 }
