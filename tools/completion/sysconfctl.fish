# Completion of sysconfctl in fish. The tool lists the candidates; fish filters and quotes them. Nothing
# of the line is expanded or run.

function __sysconfctl_complete
    set -l typed (commandline -opc)
    set -l current (commandline -ct)
    set -l tool $typed[1]
    type -q -- $tool; or set tool sysconfctl
    type -q -- $tool; or return
    set -l lines (command $tool __complete fish $typed[2..-1] "$current" 2>/dev/null)
    if test "$lines[1]" = :files
        # A file name starts after the "=" of the word, if there is one.
        set -l lead (string match -r -- '^.*=' "$current"; or echo)
        set -l path (string replace -r -- '^.*=' '' "$current")
        for file in (complete -C "'' $path")
            echo -- $lead$file
        end
    else
        printf '%s\n' $lines[2..-1]
    end
end

complete -c sysconfctl -f -a '(__sysconfctl_complete)'
