// Prints where it runs: sysconfctl exec -- go run where.go
package main

import (
	"fmt"
	"os"
)

func answer(query string) string {
	if value, found := os.LookupEnv("SYSCONF_" + query); found {
		return value
	}
	return "none"
}

func main() {
	fmt.Printf("tenancy %s, service address %s\n", answer("PRODUCT_NAME"), answer("LOCAL_SERVICE_IP"))
}
