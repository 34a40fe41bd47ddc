# Completion of sso2ticket for bash; made by: sso2ticket completion bash
_sso2ticket() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case "$command $word" in
        ' verify') command=' verify' ;;
        ' inspect') command=' inspect' ;;
        ' create') command=' create' ;;
        ' cert') command=' cert' ;;
        ' keystore') command=' keystore' ;;
        ' keystore create') command=' keystore create' ;;
        ' keystore list') command=' keystore list' ;;
        ' keystore add-trusted') command=' keystore add-trusted' ;;
        ' keystore export-certificate') command=' keystore export-certificate' ;;
        ' keystore change-password') command=' keystore change-password' ;;
        ' jwt') command=' jwt' ;;
        ' jwt verify') command=' jwt verify' ;;
        ' jwt inspect') command=' jwt inspect' ;;
        ' error') command=' error' ;;
        ' doctor') command=' doctor' ;;
        ' completion') command=' completion' ;;
        esac
    done
    local words='' valued=''
    case "$command" in
    '')
        words='verify inspect create cert keystore jwt error doctor completion --help --version'
        ;;
    ' verify')
        words='--help --file --profile --assertion --system-id --client --explain --json --code-page --crypto-library --trace --trace-level --password-file --password-env --password-prompt'
        valued='--file --profile --system-id --client --code-page --crypto-library --trace --trace-level --password-file --password-env'
        ;;
    ' inspect')
        words='--help --json'
        ;;
    ' create')
        words='--help --system-id --client --recipient-system-id --recipient-client --user --portal-user --language --auth-scheme --code-page --profile --hash --include-certificate --json --crypto-library --trace --trace-level --password-file --password-env --password-prompt'
        valued='--system-id --client --recipient-system-id --recipient-client --user --portal-user --language --auth-scheme --code-page --profile --hash --crypto-library --trace --trace-level --password-file --password-env'
        ;;
    ' cert')
        words='--help --attribute --json --crypto-library --trace --trace-level'
        valued='--attribute --crypto-library --trace --trace-level'
        ;;
    ' keystore')
        words='create list add-trusted export-certificate change-password --help'
        ;;
    ' keystore create')
        words='--help --subject --key --days --json --password-file --password-env --password-prompt'
        valued='--subject --key --days --password-file --password-env'
        ;;
    ' keystore list')
        words='--help --json --password-file --password-env --password-prompt'
        valued='--password-file --password-env'
        ;;
    ' keystore add-trusted')
        words='--help --create --json --password-file --password-env --password-prompt'
        valued='--password-file --password-env'
        ;;
    ' keystore export-certificate')
        words='--help --number --der --password-file --password-env --password-prompt'
        valued='--number --password-file --password-env'
        ;;
    ' keystore change-password')
        words='--help --json --password-file --password-env --password-prompt --new-password-file --new-password-env --new-password-prompt'
        valued='--password-file --password-env --new-password-file --new-password-env'
        ;;
    ' jwt')
        words='verify inspect --help'
        ;;
    ' jwt verify')
        words='--help --expect-sub --expect-iss --expect-aud --expect-jti --name-id --json --crypto-library --trace --trace-level --key --secret-file'
        valued='--expect-sub --expect-iss --expect-aud --expect-jti --name-id --crypto-library --trace --trace-level --key --secret-file'
        ;;
    ' jwt inspect')
        words='--help --json'
        ;;
    ' error')
        words='--help --json'
        ;;
    ' doctor')
        words='--help --profile --crypto-library --trace --json --password-file --password-env --password-prompt'
        valued='--profile --crypto-library --trace --password-file --password-env'
        ;;
    ' completion')
        words='--help'
        ;;
    esac
    if [[ " $valued " == *" $before "* ]]; then
        words=''
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _sso2ticket sso2ticket
