# Completion of zevka(1) for fish.

set -l commands show headers body extract check footer set-header remove-part
set -l none "not __fish_seen_subcommand_from $commands"
set -l changing '__fish_seen_subcommand_from footer set-header remove-part'

complete -c zevka -s h -l help -d 'Print help and end'
complete -c zevka -n $none -l version -d 'Print the version and end'
complete -c zevka -n $none -l library -r -F -d 'Load this library'

complete -c zevka -n $none -f -a show -d 'Print the parts of each message as a tree'
complete -c zevka -n $none -f -a headers -d 'Print the header fields of each message'
complete -c zevka -n $none -f -a body -d 'Print the body of one part'
complete -c zevka -n $none -f -a extract -d 'Write decoded attachments and bodies into a folder'
complete -c zevka -n $none -f -a check -d 'Say what is broken or ambiguous'
complete -c zevka -n $none -f -a footer -d 'Add a footer to each message'
complete -c zevka -n $none -f -a set-header -d 'Replace a header field, or add one'
complete -c zevka -n $none -f -a remove-part -d 'Take parts out of each message'

complete -c zevka -n '__fish_seen_subcommand_from show check' -l json -d 'Print JSON Lines'

complete -c zevka -n '__fish_seen_subcommand_from headers' -l decode -d 'Print encoded words as text'
complete -c zevka -n '__fish_seen_subcommand_from headers' -l name -x \
    -a 'From To Cc Subject Date Message-ID' -d 'Print only the fields of this name'

complete -c zevka -n '__fish_seen_subcommand_from body' -l part -x -d 'Number of the part'
complete -c zevka -n '__fish_seen_subcommand_from body' -l decoded -d 'Without the transfer encoding'
complete -c zevka -n '__fish_seen_subcommand_from body' -l raw -d 'As it stands in the message'

complete -c zevka -n '__fish_seen_subcommand_from extract' -s o -l output -x \
    -a '(__fish_complete_directories)' -d 'Folder for the files'
complete -c zevka -n '__fish_seen_subcommand_from extract' -l json -d "Print the manifest's lines"

complete -c zevka -n '__fish_seen_subcommand_from footer' -l text -x -d 'The footer'
complete -c zevka -n '__fish_seen_subcommand_from footer' -l file -r -F -d 'Take the footer from a file'
complete -c zevka -n '__fish_seen_subcommand_from footer' -l subject-suffix -x -d 'Append to the subject'
complete -c zevka -n '__fish_seen_subcommand_from footer' -l marker -x -a X-Zevka-Footer \
    -d 'Field that marks a message with a footer'

complete -c zevka -n '__fish_seen_subcommand_from set-header' -l add \
    -d 'Add a field, also when there is one'

complete -c zevka -n '__fish_seen_subcommand_from remove-part' -s p -l part -x -d 'Number of a part'
complete -c zevka -n '__fish_seen_subcommand_from remove-part' -l marker -x -a X-Zevka-Removed \
    -d 'Field that tells what was taken out'
complete -c zevka -n '__fish_seen_subcommand_from remove-part' -l no-mark -d 'Add no such field'

complete -c zevka -n $changing -s o -l output -r -F -d 'Leave the files and write the messages there'
complete -c zevka -n $changing -s n -l dry-run -d 'Write nothing, print what would change'
complete -c zevka -n $changing -l json -d 'Print JSON Lines'
complete -c zevka -n $changing -s q -l quiet -d 'Print failures only'
complete -c zevka -n $changing -l progress -x -a 'auto always never json' -d 'Show how far the batch is'
complete -c zevka -n $changing -s j -l jobs -x -d 'Messages at a time'
complete -c zevka -n $changing -l all-files -d 'Take all files of a folder'
complete -c zevka -n $changing -l no-transport-guard \
    -d 'Change messages with DKIM, DomainKey and ARC fields too'
complete -c zevka -n $changing -l dump -x -a '(__fish_complete_directories)' \
    -d 'Write results that did not hold into this folder'
complete -c zevka -n $changing -l max-bytes -x -d 'Leave larger messages alone'
complete -c zevka -n $changing -l max-parts -x -d 'Leave messages with more parts alone'
