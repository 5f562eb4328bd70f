# Reads the help of all commands, each behind a line "\f<command>", and writes the sections COMMANDS and COMMON OPTIONS of
# a manual page (mdoc). An option that says the same in three commands or more is a common one and told once.

function plain(text) {
  gsub(/\\/, "\\e", text)
  gsub(/`/, "\\(ga", text)
  return text
}

# Running text: a sentence begins a line, and no line is long.
function paragraph(text, words, count, i, line, result) {
  count = split(plain(text), words, " ")
  line = result = ""
  for (i = 1; i <= count; i++) {
    if (line == "" && words[i] ~ /^[.']/)
      words[i] = "\\&" words[i]
    line = line (line == "" ? "" : " ") words[i]
    if (words[i] ~ /\.$/ || length(line " " words[i + 1]) > 78 || i == count) {
      result = result (result == "" ? "" : "\n") line
      line = ""
    }
  }
  return result
}

function item_head(names, head, count, parts, i, words) {
  if (names !~ /^-/) {
    sub(/ REQUIRED( \(Env:.*)?$/, "", names)
    return ".It Ar \"" plain(names) "\""
  }
  words = ""
  if (match(names, / .*/)) {
    words = substr(names, RSTART + 1)
    names = substr(names, 1, RSTART - 1)
  }
  count = split(names, parts, ",")
  head = ".It"
  for (i = 1; i <= count; i++) {
    sub(/^-/, "", parts[i])
    head = head " Fl " parts[i] (i < count ? " ," : "")
  }
  return head (words == "" ? "" : " Ar \"" plain(words) "\"")
}

function end_of_item() {
  if (names == "")
    return
  items[command, ++counts[command]] = names SUBSEP text
  commands_with[names SUBSEP text]++
  if (commands_with[names SUBSEP text] == 1)
    order[++orders] = names SUBSEP text
  names = text = ""
}

function write_list(list, i, parts, said) {
  said = 0
  for (i = 1; i in list; i++) {
    if (!said++)
      print ".Bl -tag -width Ds"
    split(list[i], parts, SUBSEP)
    print item_head(parts[1])
    print paragraph(parts[2])
  }
  if (said)
    print ".El"
}

/^\f/ {
  end_of_item()
  command = substr($0, 2)
  names_of_commands[++commands] = command
  state = "summary"
  next
}
state == "summary" { summary[command] = $0; state = "usage"; next }
/^Usage: / { usage[command] = substr($0, 8); next }
/^[A-Z][A-Za-z ]*:$/ {
  end_of_item()
  state = $0 == "Examples:" ? "examples" : "items"
  next
}
state == "examples" && /^(  .*)?$/ { examples[command] = examples[command] plain($0) "\n"; next }
/^  ?[^ ]/ && state == "items" {
  end_of_item()
  line = substr($0, 3)
  if (match(line, /  +/)) {
    names = substr(line, 1, RSTART - 1)
    text = substr(line, RSTART + RLENGTH)
  } else
    names = line
  next
}
/^ +[^ ]/ && names != "" { sub(/^ +/, ""); text = text (text == "" ? "" : " ") $0; next }
/^$/ { end_of_item(); next }
{ end_of_item(); state = "notes"; notes[command] = notes[command] (notes[command] == "" ? "" : " ") $0 }

END {
  end_of_item()
  print ".Sh COMMANDS"
  for (i = 1; i <= commands; i++) {
    command = names_of_commands[i]
    print ".Ss " command
    print paragraph(summary[command] ".")
    print ".Pp"
    print ".Dl \"" plain(usage[command]) "\""
    split("", own)
    count = 0
    for (k = 1; k <= counts[command]; k++)
      if (commands_with[items[command, k]] < 3)
        own[++count] = items[command, k]
    write_list(own)
    if (notes[command] != "")
      print ".Pp\n" paragraph(notes[command])
    if (examples[command] != "") {
      sub(/\n+$/, "\n", examples[command])
      printf ".Bd -literal\n%s.Ed\n", examples[command]
    }
  }
  print ".Sh COMMON OPTIONS"
  print "Several commands have these; the help of each tells which."
  split("", common)
  count = 0
  for (k = 1; k <= orders; k++)
    if (commands_with[order[k]] >= 3)
      common[++count] = order[k]
  write_list(common)
}
